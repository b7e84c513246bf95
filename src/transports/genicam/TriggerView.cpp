#include "TriggerView.h"

#include "Failure.h"
#include "FeatureTable.h"
#include "RegisterFields.h"
#include "Registers.h"

namespace Zevrin {

namespace {

constexpr char kOn[] = "On";
constexpr char kOff[] = "Off";
constexpr char kSoftware[] = "Software";
constexpr char kTimed[] = "Timed";
constexpr char kTriggerWidth[] = "TriggerWidth";
constexpr unsigned int kStandardMode = 0;
constexpr unsigned int kWidthMode = 1;
constexpr unsigned int kOtherSource = 6;  // one that IIDC has no number for; the standard reserves this one

constexpr const char* kLines[] = {"Line0", "Line1", "Line2", "Line3"};
constexpr unsigned int kLineCount = 4;

/// By IIDC polarity: active low, active high. What is triggered by level keeps being so.
struct Polarity {
    const char* edge;
    const char* level;
};
constexpr Polarity kPolarities[] = {{"FallingEdge", "LevelLow"}, {"RisingEdge", "LevelHigh"}};

bool OffersEntry(DeviceFeatures& features, const FeatureNames& names, const char* entry) {
    const char* const feature = features.Find(names);
    return feature != nullptr && features.HasEntry(feature, entry);
}

std::string GetEntry(DeviceFeatures& features, const FeatureNames& names) {
    const char* const feature = features.Find(names);
    return feature != nullptr ? features.GetEntry(feature) : std::string();
}

unsigned int ReadSource(DeviceFeatures& features) {
    const std::string source = GetEntry(features, FeatureName::kTriggerSource);
    for (unsigned int line = 0; line < kLineCount; ++line) {
        if (source == kLines[line]) {
            return line;
        }
    }
    return source == kSoftware ? kSoftwareTriggerSource : kOtherSource;
}

void WriteSource(DeviceFeatures& features, unsigned int source) {
    if (source == ReadSource(features)) {
        return;
    }
    const char* const entry = source == kSoftwareTriggerSource ? kSoftware
                              : source < kLineCount            ? kLines[source]
                                                               : nullptr;
    const char* const feature = features.Find(FeatureName::kTriggerSource);
    if (feature == nullptr || entry == nullptr) {
        features.Fail(Failure(ERR_INVALID_MODE, "the camera has no trigger source %u.", source));
        return;
    }
    features.SetEntry(feature, entry);
}

bool IsActiveHigh(const std::string& activation) {
    return activation != kPolarities[0].edge && activation != kPolarities[0].level;
}

void WritePolarity(DeviceFeatures& features, unsigned int polarity) {
    const char* const feature = features.Find(FeatureName::kTriggerActivation);
    const std::string present = GetEntry(features, FeatureName::kTriggerActivation);
    if (feature == nullptr || IsActiveHigh(present) == (polarity == 1)) {
        return;
    }
    const bool isLevel = present == kPolarities[1 - polarity].level;
    features.SetEntry(feature, isLevel ? kPolarities[polarity].level : kPolarities[polarity].edge);
}

void WriteMode(DeviceFeatures& features, unsigned int mode) {
    const char* const feature = features.Find(FeatureName::kExposureMode);
    if (mode > kWidthMode || (mode == kWidthMode && feature == nullptr)) {
        features.Fail(Failure(ERR_INVALID_MODE, "the camera has no trigger mode %u.", mode));
    } else if (feature != nullptr && (features.GetEntry(feature) == kTriggerWidth) != (mode == kWidthMode)) {
        features.SetEntry(feature, mode == kWidthMode ? kTriggerWidth : kTimed);
    }
}

}  // namespace

bool TriggerView::IsThere(DeviceFeatures& features) {
    return features.Select(kTriggerSelector) && OffersEntry(features, FeatureName::kTriggerMode, kOn);
}

unsigned int TriggerView::ReadInquiry(DeviceFeatures& features) {
    if (!IsThere(features)) {
        return 0;
    }
    const auto flag = [](bool isSet, unsigned int ability) { return isSet ? ability : 0; };
    unsigned int word = TriggerInquiry::kPresence | TriggerInquiry::kReadOut;
    word |= flag(OffersEntry(features, FeatureName::kTriggerMode, kOff), TriggerInquiry::kOnOff);
    word |= flag(OffersEntry(features, FeatureName::kTriggerActivation, kPolarities[0].edge) &&
                     OffersEntry(features, FeatureName::kTriggerActivation, kPolarities[1].edge),
                 TriggerInquiry::kPolarity);
    for (unsigned int line = 0; line < kLineCount; ++line) {
        word |= flag(OffersEntry(features, FeatureName::kTriggerSource, kLines[line]),
                     RegisterBit(TriggerInquiry::kSources.first + line));
    }
    word |= flag(OffersEntry(features, FeatureName::kTriggerSource, kSoftware) &&
                     features.Find(FeatureName::kTriggerSoftware) != nullptr,
                 TriggerInquiry::kSoftware);
    word |= RegisterBit(TriggerInquiry::kModes.first + kStandardMode);
    word |= flag(OffersEntry(features, FeatureName::kExposureMode, kTriggerWidth),
                 RegisterBit(TriggerInquiry::kModes.first + kWidthMode));
    return word;
}

unsigned int TriggerView::ReadControl(DeviceFeatures& features) {
    if (!IsThere(features)) {
        return 0;
    }
    unsigned int word = FeatureControl::kPresence;
    word |= GetEntry(features, FeatureName::kTriggerMode) == kOn ? TriggerControl::kOnOff : 0;
    const bool isActiveHigh = IsActiveHigh(GetEntry(features, FeatureName::kTriggerActivation));
    word = TriggerControl::kPolarity.Put(word, isActiveHigh ? 1 : 0);
    word = TriggerControl::kSource.Put(word, ReadSource(features));
    const bool isWidth = GetEntry(features, FeatureName::kExposureMode) == kTriggerWidth;
    return TriggerControl::kMode.Put(word, isWidth ? kWidthMode : kStandardMode);
}

/// Off goes first and on last: so nothing triggers half set up.
void TriggerView::WriteControl(DeviceFeatures& features, unsigned int word) {
    if (!IsThere(features)) {
        features.Fail(Failure(ERR_FEATURE_ABSENT, "the camera has no trigger."));
        return;
    }
    const char* const mode = features.Find(FeatureName::kTriggerMode);
    const bool isOn = (word & TriggerControl::kOnOff) != 0;
    if (mode != nullptr && !isOn) {
        features.SetEntry(mode, kOff);
    }
    WriteSource(features, TriggerControl::kSource.Get(word));
    WritePolarity(features, TriggerControl::kPolarity.Get(word));
    WriteMode(features, TriggerControl::kMode.Get(word));
    if (mode != nullptr && isOn) {
        features.SetEntry(mode, kOn);
    }
}

void TriggerView::Fire(DeviceFeatures& features, unsigned int word) {
    const char* const command =
        features.Select(kTriggerSelector) ? features.Find(FeatureName::kTriggerSoftware) : nullptr;
    if (command == nullptr) {
        features.Fail(Failure(ERR_FEATURE_ABSENT, "the camera has no software trigger."));
    } else if ((word & kSwitchBit) != 0) {
        features.Execute(command);
    }
}

}  // namespace Zevrin
