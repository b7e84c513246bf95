#pragma once

#include <arv.h>

#include <array>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "zevrin/Error.h"

namespace Zevrin {

class GenicamDevice;

/// Names for one thing, the standard's present one first and older ones after it; unused ones are null.
using FeatureNames = std::array<const char*, 4>;

/// A feature that says which of several things another feature is about, and the things in order of liking.
struct FeatureSelector {
    const char* feature = nullptr;  ///< null: none
    FeatureNames entries{};
};

struct FeatureLimits {
    double min = 0;
    double max = 0;
    double step = 0;       ///< 0: any value
    bool isValid = false;  ///< false when what the device says of them makes no sense
};

/// An available entry of an enumeration.
struct FeatureEntry {
    std::string name;
    long long value = 0;
};

/// The features of a device during one run of register accesses, which holds the device's access mutex.
///
/// Everything that the device tells is taken with caution. The first failure is kept: from then on nothing
/// reaches the device, questions are answered with no and 0. That a feature is missing, not available, or
/// described in a way that makes no sense, is no failure of a question.
class DeviceFeatures {
  public:
    explicit DeviceFeatures(GenicamDevice& device) : m_device(device) {}
    GenicamDevice& GetDevice() { return m_device; }

    /// The first of the names that the device offers at present; null when it offers none.
    const char* Find(const FeatureNames& names);
    bool Has(const char* feature);

    /// Whether it is a number that can be read at present, and what it is.
    bool TryNumber(const char* feature, double* pValue);
    bool IsInteger(const char* feature);
    bool CanWrite(const char* feature);

    /// The limits narrowed to `widest`; a device may give none.
    FeatureLimits GetLimits(const char* feature, const FeatureLimits& widest);

    double GetNumber(const char* feature);
    void SetNumber(const char* feature, double value);
    bool GetSwitch(const char* feature);
    void SetSwitch(const char* feature, bool isOn);
    std::string GetEntry(const char* feature);
    void SetEntry(const char* feature, const std::string& entry);
    void Execute(const char* feature);

    /// The entries that are available, of the first 1024, in the order of their values.
    std::vector<FeatureEntry> GetEntries(const char* feature);
    bool HasEntry(const char* feature, const char* entry);

    /// Lets the selector point to the first of its entries that the device has. What has no selector is not
    /// selected, so that is no failure. False when there is one without any of these entries.
    bool Select(const FeatureSelector& selector);

    bool HasFailed() const { return m_error != ERR_OK; }
    const Error& GetError() const { return m_error; }
    void Fail(const Error& error);

  private:
    template <typename T>
    using Question = std::function<T(ArvGcNode*, GError**)>;
    template <typename T>
    T Ask(const char* feature, T otherwise, Question<T> question);
    void Change(const char* feature, Question<void> change);

    GenicamDevice& m_device;
    Error m_error;
    std::map<std::string, std::string> m_selected;  // by selector; nobody else moves one meanwhile
};

}  // namespace Zevrin
