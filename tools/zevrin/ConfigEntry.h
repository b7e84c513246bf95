#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include <zevrin/Error.h>

#include "Choices.h"
#include "Output.h"

namespace ZevrinTool {

/// What is said about one value of a configuration.
struct Finding {
    std::string path;  ///< such as "properties.shutter.raw"
    Json value;        ///< null: there is none
    std::string reason;
};
using Findings = std::vector<Finding>;

/// The values that a number of a configuration may have.
struct IntegerRange {
    long long min = 0;
    long long max = std::numeric_limits<unsigned int>::max();
    long long step = 1;
};
struct RealRange {
    double min = 0;
    double max = 0;
    std::string unit;
};

/// An object of a configuration, whose values are read one by one. What cannot be taken is refused with its
/// path, its value and what would be right, and leaves the record as it was; so does a key that is missing.
class ConfigEntry {
  public:
    /// What is referred to must outlive this object.
    ConfigEntry(const Json& object, std::string path, Findings* pRefused);

    const std::string& GetPath() const { return m_path; }
    const Json& GetObject() const { return m_object; }
    bool Has(const std::string& key) const { return m_object.is_object() && m_object.contains(key); }

    /// Null when there is none.
    const Json* Find(const std::string& key);
    ConfigEntry Enter(const std::string& key) const;

    void Read(const std::string& key, bool* pValue);
    void Read(const std::string& key, const RealRange& range, float* pValue);
    void Read(const std::string& key, const Choices& choices, unsigned int* pValue);
    template <typename Integer>
    void Read(const std::string& key, const IntegerRange& range, Integer* pValue) {
        const Json* const pJson = Find(key);
        if (pJson != nullptr && CheckInteger(*pJson, m_path + "." + key, range)) {
            *pValue = pJson->get<Integer>();
        }
    }

    /// Reads a list of numbers; false when it was refused.
    bool ReadList(const std::string& key, const IntegerRange& range, std::vector<unsigned int>* pValues);

    void Refuse(const std::string& reason) const { m_pRefused->push_back({m_path, nullptr, reason}); }
    void Refuse(const std::string& key, const std::string& reason) const;

    /// Refuses every key that nobody has asked for.
    void RefuseOthers() const;

    /// Whether nothing has been refused since this object was made.
    bool IsGood() const { return m_pRefused->size() == m_refusedBefore; }

  private:
    bool CheckInteger(const Json& value, const std::string& path, const IntegerRange& range) const;

    const Json& m_object;
    std::string m_path;
    Findings* m_pRefused;
    std::size_t m_refusedBefore;
    std::set<std::string> m_known;
};

/// When a change is made: what others depend on comes first.
enum ConfigStage { kStageStream, kStageImage, kStageValues, kStageModes, kStageOutputs, kStageTrigger };

/// A change of a camera, ready to be made.
struct ConfigStep {
    ConfigStage stage;
    std::string path;
    std::function<Zevrin::Error()> make;
};

struct ConfigPlan {
    Findings refused;
    std::vector<ConfigStep> steps;
};

/// The double that a program would print as the single-precision number is printed: nothing is lost on the
/// way to a file and back.
double Exactly(float value);

}  // namespace ZevrinTool
