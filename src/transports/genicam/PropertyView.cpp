#include "PropertyView.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

#include "Failure.h"
#include "RegisterFields.h"
#include "Registers.h"

namespace Zevrin {

namespace {

constexpr double kMaxRaw = FeatureControl::kValue.GetMax();
constexpr double kPerCent = 100;

unsigned int ToWord(double value) {
    const auto single = static_cast<float>(value);
    unsigned int word = 0;
    static_assert(sizeof word == sizeof single, "IEEE-754 single precision");
    std::memcpy(&word, &single, sizeof word);
    return word;
}

/// The shortest decimal of which this is the nearest single-precision number: 0.01 s are 10000 µs, and no
/// camera that counts them cuts off a fraction.
double ToNumber(unsigned int word) {
    float single = 0;
    std::memcpy(&single, &word, sizeof single);
    char text[64] = {};
    std::to_chars(text, text + sizeof text - 1, single);
    return std::strtod(text, nullptr);
}

}  // namespace

/// What there is of one IIDC feature, with its selector set.
struct PropertyView::Feature {
    const PropertyMapping* pMapping = nullptr;
    const ValueFeature* pValue = nullptr;  ///< null: the feature is absent
    FeatureLimits limits;
    double present = 0;
    bool isInteger = false;
    const char* autoFeature = nullptr;
    const char* switchFeature = nullptr;

    bool IsThere() const { return pValue != nullptr; }
    bool HasUnit() const { return IsThere() && pValue->unit != FeatureUnit::kNone; }
    double GetRange() const { return limits.max - limits.min; }

    double ToAbsolute(double value) const {
        if (pValue->unit == FeatureUnit::kPerCent) {
            return GetRange() > 0 ? (value - limits.min) / GetRange() * kPerCent : 0;
        }
        return value * pValue->scale + pValue->offset;
    }
    double FromAbsolute(double absolute) const {
        return pValue->unit == FeatureUnit::kPerCent ? limits.min + absolute / kPerCent * GetRange()
                                                     : (absolute - pValue->offset) / pValue->scale;
    }

    bool IsRawTheValue() const { return isInteger && limits.min >= 0 && limits.max <= kMaxRaw; }
    unsigned int ToRaw(double value) const {
        double raw = 0;
        if (pMapping->rawPerUnit != 0) {
            raw = ToAbsolute(value) * pMapping->rawPerUnit;
        } else if (IsRawTheValue()) {
            raw = value;
        } else if (GetRange() > 0) {
            raw = (value - limits.min) / GetRange() * kMaxRaw;
        }
        return static_cast<unsigned int>(std::lround(std::clamp(raw, 0.0, kMaxRaw)));
    }
    double FromRaw(unsigned int raw) const {
        if (pMapping->rawPerUnit != 0) {
            return FromAbsolute(raw / pMapping->rawPerUnit);
        }
        return IsRawTheValue() ? raw : limits.min + raw / kMaxRaw * GetRange();
    }

    /// The value that the feature can have, nearest to this one.
    double Round(double value) const {
        const double clamped = std::clamp(value, limits.min, limits.max);
        const double stepped =
            limits.step > 0 ? limits.min + std::round((clamped - limits.min) / limits.step) * limits.step
                            : clamped;
        return stepped > limits.max ? stepped - limits.step : stepped;
    }
};

/// With the selector at its first entry. What makes no sense is absent.
PropertyView::Feature PropertyView::Find(DeviceFeatures& features, unsigned int bit) {
    Feature feature;
    const auto* const pMapping =
        std::find_if(std::begin(kPropertyMappings), std::end(kPropertyMappings),
                     [bit](const PropertyMapping& mapping) { return mapping.bit == bit; });
    if (pMapping == std::end(kPropertyMappings)) {
        return feature;
    }
    feature.pMapping = pMapping;
    const bool isSelected = features.Select(pMapping->selector);
    if (!isSelected && pMapping->secondEntry != nullptr) {
        return feature;
    }
    for (const ValueFeature& value : pMapping->values) {
        if (value.feature == nullptr || !features.TryNumber(value.feature, &feature.present)) {
            continue;
        }
        feature.limits = features.GetLimits(value.feature, value.widest);
        if (feature.limits.isValid) {
            feature.pValue = &value;
            feature.isInteger = features.IsInteger(value.feature);
            feature.autoFeature = features.Find(pMapping->autos);
            feature.switchFeature = features.Find(pMapping->switches);
            break;
        }
    }
    return feature;
}

PropertyView::Feature PropertyView::Require(DeviceFeatures& features, unsigned int bit) {
    const Feature feature = Find(features, bit);
    if (!feature.IsThere()) {
        features.Fail(Failure(ERR_FEATURE_ABSENT, "the camera has no such feature at present."));
    }
    return feature;
}

/// With the selector at its second entry, which may have limits of its own.
std::optional<PropertyView::Feature> PropertyView::FindSecond(DeviceFeatures& features,
                                                              const Feature& first) {
    const char* const entry = first.pMapping->secondEntry;
    if (entry == nullptr || !features.Select({first.pMapping->selector.feature, {entry}})) {
        return std::nullopt;
    }
    Feature second = first;
    second.limits = features.GetLimits(first.pValue->feature, first.pValue->widest);
    second.present = features.GetNumber(first.pValue->feature);
    return second.limits.isValid ? std::optional<Feature>(second) : std::nullopt;
}

void PropertyView::DropWaiting() {
    for (State& state : m_states) {
        state.waiting.reset();
    }
}

unsigned int PropertyView::ReadPresence(DeviceFeatures& features) {
    unsigned int presence = 0;
    for (const PropertyMapping& mapping : kPropertyMappings) {
        presence |= Find(features, mapping.bit).IsThere() ? RegisterBit(mapping.bit) : 0;
    }
    return presence;
}

unsigned int PropertyView::ReadInquiry(DeviceFeatures& features, unsigned int bit) {
    const Feature feature = Find(features, bit);
    if (!feature.IsThere()) {
        return 0;
    }
    const auto offers = [&](const char* entry) {
        return feature.autoFeature != nullptr && features.HasEntry(feature.autoFeature, entry);
    };
    const auto flag = [](bool isSet, unsigned int ability) { return isSet ? ability : 0; };
    unsigned int word = FeatureInquiry::kPresence | FeatureInquiry::kReadOut;
    word |= flag(feature.HasUnit(), FeatureInquiry::kAbsolute);
    word |= flag(offers(kAutoOnce), FeatureInquiry::kOnePush);
    word |= flag(offers(kAutoContinuous), FeatureInquiry::kAuto);
    // In auto mode a device may show its value as read-only.
    word |= flag(offers(kAutoOff) || features.CanWrite(feature.pValue->feature), FeatureInquiry::kManual);
    word |= flag(feature.switchFeature != nullptr && features.CanWrite(feature.switchFeature),
                 FeatureInquiry::kOnOff);
    word |= FeatureInquiry::kMinimum.Make(feature.ToRaw(feature.limits.min));
    return word | FeatureInquiry::kMaximum.Make(feature.ToRaw(feature.limits.max));
}

unsigned int PropertyView::ReadControl(DeviceFeatures& features, unsigned int bit) {
    const Feature feature = Find(features, bit);
    if (!feature.IsThere()) {
        return 0;
    }
    unsigned int word = FeatureControl::kPresence;
    if (feature.HasUnit() && m_states[bit].isAbsolute) {
        word |= FeatureControl::kAbsolute;
    }
    if (feature.switchFeature == nullptr || features.GetSwitch(feature.switchFeature)) {
        word |= FeatureControl::kOnOff;
    }
    if (feature.autoFeature != nullptr) {
        const std::string mode = features.GetEntry(feature.autoFeature);
        word |= mode == kAutoContinuous ? FeatureControl::kAuto : 0;
        word |= mode == kAutoOnce ? FeatureControl::kOnePush : 0;
    }
    word = FeatureControl::kValue.Put(word, feature.ToRaw(feature.present));
    if (feature.pMapping->secondEntry != nullptr) {
        const std::optional<Feature> second = FindSecond(features, feature);
        word = FeatureControl::kSecondValue.Put(word, second ? second->ToRaw(second->present) : 0);
    }
    return word;
}

/// What is switched off, or adjusted by the camera, keeps its value.
void PropertyView::WriteControl(DeviceFeatures& features, unsigned int bit, unsigned int word) {
    const Feature feature = Require(features, bit);
    if (features.HasFailed()) {
        return;
    }
    SetModes(features, feature, word);
    State& state = m_states[bit];
    state.isAbsolute = (word & FeatureControl::kAbsolute) != 0;
    const std::optional<double> waiting = std::exchange(state.waiting, std::nullopt);
    const bool isOn = feature.switchFeature == nullptr || (word & FeatureControl::kOnOff) != 0;
    const bool isManual = (word & (FeatureControl::kAuto | FeatureControl::kOnePush)) == 0;
    if (features.HasFailed() || !isOn || (feature.autoFeature != nullptr && !isManual)) {
        return;
    }
    if (feature.HasUnit() && state.isAbsolute) {
        if (waiting) {
            features.SetNumber(feature.pValue->feature, *waiting);
        }
        return;
    }
    SetRaw(features, feature, FeatureControl::kValue.Get(word));
    if (const std::optional<Feature> second = FindSecond(features, feature)) {
        SetRaw(features, *second, FeatureControl::kSecondValue.Get(word));
    }
}

void PropertyView::SetModes(DeviceFeatures& features, const Feature& feature, unsigned int word) {
    const bool isOn = (word & FeatureControl::kOnOff) != 0;
    if (feature.switchFeature != nullptr && features.GetSwitch(feature.switchFeature) != isOn) {
        features.SetSwitch(feature.switchFeature, isOn);
    }
    if (feature.autoFeature == nullptr || (feature.switchFeature != nullptr && !isOn)) {
        return;
    }
    if ((word & FeatureControl::kOnePush) != 0) {
        features.SetEntry(feature.autoFeature, kAutoOnce);
    } else {
        features.SetEntry(feature.autoFeature,
                          (word & FeatureControl::kAuto) != 0 ? kAutoContinuous : kAutoOff);
    }
}

/// A raw value that is the present one already stays what it is, for raw values are coarse.
void PropertyView::SetRaw(DeviceFeatures& features, const Feature& feature, unsigned int raw) {
    if (feature.ToRaw(features.GetNumber(feature.pValue->feature)) != raw) {
        features.SetNumber(feature.pValue->feature, feature.Round(feature.FromRaw(raw)));
    }
}

bool PropertyView::IsAbsolute(DeviceFeatures& features, unsigned int bit) {
    return Find(features, bit).HasUnit();
}

unsigned int PropertyView::ReadAbsolute(DeviceFeatures& features, unsigned int bit, unsigned int offset) {
    const Feature feature = Require(features, bit);
    if (!feature.HasUnit()) {
        return 0;
    }
    switch (offset) {
        case AbsoluteBlock::kMinimum:
            return ToWord(feature.ToAbsolute(feature.limits.min));
        case AbsoluteBlock::kMaximum:
            return ToWord(feature.ToAbsolute(feature.limits.max));
        default:
            return ToWord(feature.ToAbsolute(m_states[bit].waiting.value_or(feature.present)));
    }
}

/// While the feature is switched off or adjusted by the camera, the value waits for it to become manual, as
/// a device may not take one before.
void PropertyView::WriteAbsolute(DeviceFeatures& features, unsigned int bit, unsigned int offset,
                                 unsigned int word) {
    const Feature feature = Require(features, bit);
    if (!features.HasFailed() && (!feature.HasUnit() || offset != AbsoluteBlock::kValue)) {
        features.Fail(Failure(ERR_FEATURE_READ_ONLY, "it cannot be written."));
    }
    if (features.HasFailed()) {
        return;
    }
    // The limits as they can be read: a double's last digits are lost on the way.
    const double value = ToNumber(word);
    const double min = ToNumber(ToWord(feature.ToAbsolute(feature.limits.min)));
    const double max = ToNumber(ToWord(feature.ToAbsolute(feature.limits.max)));
    if (!(value >= min && value <= max)) {
        features.Fail(
            Failure(ERR_VALUE_OUT_OF_RANGE, "%g is to be written; it must be %g to %g.", value, min, max));
        return;
    }
    const double wanted = feature.Round(feature.FromAbsolute(value));
    const bool isOff = feature.switchFeature != nullptr && !features.GetSwitch(feature.switchFeature);
    const bool isAdjusted =
        feature.autoFeature != nullptr && features.GetEntry(feature.autoFeature) != kAutoOff;
    if (isOff || isAdjusted) {
        m_states[bit].waiting = wanted;
    } else {
        features.SetNumber(feature.pValue->feature, wanted);
    }
}

}  // namespace Zevrin
