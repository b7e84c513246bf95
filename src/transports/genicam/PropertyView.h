#pragma once

#include <array>
#include <optional>

#include "FeatureTable.h"
#include "zevrin/Error.h"

namespace Zevrin {

/// The inquiry, control and absolute-value registers of the features of FEATURE_HI_INQ. The device's access
/// mutex guards it.
///
/// A raw value is the feature's own where that is an integer of at most 12 bits, else 0 to 4095 over the
/// range that the feature has at the time.
class PropertyView {
  public:
    /// The features that there are, without the trigger.
    unsigned int ReadPresence(DeviceFeatures& features);

    /// @param bit  of the feature in FEATURE_HI_INQ
    unsigned int ReadInquiry(DeviceFeatures& features, unsigned int bit);
    unsigned int ReadControl(DeviceFeatures& features, unsigned int bit);
    void WriteControl(DeviceFeatures& features, unsigned int bit, unsigned int word);

    /// Whether the feature has an absolute value.
    bool IsAbsolute(DeviceFeatures& features, unsigned int bit);

    /// @param offset  of the quadlet in an AbsoluteBlock
    unsigned int ReadAbsolute(DeviceFeatures& features, unsigned int bit, unsigned int offset);
    void WriteAbsolute(DeviceFeatures& features, unsigned int bit, unsigned int offset, unsigned int word);

    /// The camera's settings have been replaced: nothing waits any more.
    void DropWaiting();

  private:
    struct Feature;
    struct State {
        bool isAbsolute = true;         // the absolute value rules, as far as there is one
        std::optional<double> waiting;  // in the unit of the feature, for when the feature takes it
    };

    Feature Find(DeviceFeatures& features, unsigned int bit);
    Feature Require(DeviceFeatures& features, unsigned int bit);
    static std::optional<Feature> FindSecond(DeviceFeatures& features, const Feature& first);
    void SetModes(DeviceFeatures& features, const Feature& feature, unsigned int word);
    void SetRaw(DeviceFeatures& features, const Feature& feature, unsigned int raw);

    std::array<State, 32> m_states;  // by bit
};

}  // namespace Zevrin
