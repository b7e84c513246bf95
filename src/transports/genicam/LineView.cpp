#include "LineView.h"

#include <algorithm>
#include <string>

#include "Failure.h"
#include "FeatureTable.h"
#include "RegisterFields.h"
#include "Registers.h"

namespace Zevrin {

namespace {

constexpr char kSelector[] = "LineSelector";
constexpr char kOutput[] = "Output";
constexpr char kInput[] = "Input";
constexpr char kExposureActive[] = "ExposureActive";
constexpr FeatureNames kDarkSources{"Off", "UserOutput0", "UserOutput1"};
constexpr unsigned int kPins = 32;

std::string LineName(unsigned int pin) {
    return "Line" + std::to_string(pin);
}

bool SelectLine(DeviceFeatures& features, unsigned int pin) {
    return features.Select({kSelector, {LineName(pin).c_str()}});
}

/// The features of the line that is selected.
struct Line {
    const char* mode;
    const char* source;
    const char* inverter;

    explicit Line(DeviceFeatures& features)
        : mode(features.Find(FeatureName::kLineMode)),
          source(features.Find(FeatureName::kLineSource)),
          inverter(features.Find(FeatureName::kLineInverter)) {}

    bool IsOutput(DeviceFeatures& features) const {
        return mode == nullptr ? source != nullptr : features.GetEntry(mode) == kOutput;
    }
    bool CanStrobe(DeviceFeatures& features) const {
        return source != nullptr && features.HasEntry(source, kExposureActive) &&
               (mode == nullptr || features.HasEntry(mode, kOutput));
    }
    const char* FindDarkSource(DeviceFeatures& features) const {
        const auto* const pFound = std::find_if(
            kDarkSources.begin(), kDarkSources.end(),
            [&](const char* name) { return name != nullptr && features.HasEntry(source, name); });
        return pFound != kDarkSources.end() ? *pFound : nullptr;
    }
};

/// The pins that there are, in the IIDC numbering.
unsigned int FindPins(DeviceFeatures& features) {
    unsigned int pins = 0;
    for (const FeatureEntry& entry : features.GetEntries(kSelector)) {
        for (unsigned int pin = 0; pin < kPins; ++pin) {
            pins |= entry.name == LineName(pin) ? RegisterBit(pin) : 0;
        }
    }
    return pins;
}

bool SelectStrobe(DeviceFeatures& features, unsigned int output) {
    return features.Has(kSelector) && SelectLine(features, output) && Line(features).CanStrobe(features);
}

}  // namespace

bool LineView::HasLines(DeviceFeatures& features) {
    return features.Has(kSelector);
}

unsigned int LineView::ReadDirections(DeviceFeatures& features) {
    if (!HasLines(features)) {
        features.Fail(Failure(ERR_FEATURE_ABSENT, "the camera has no lines."));
        return 0;
    }
    unsigned int word = 0;
    const unsigned int pins = FindPins(features);
    for (unsigned int pin = 0; pin < kPins; ++pin) {
        if ((pins & RegisterBit(pin)) != 0 && SelectLine(features, pin) &&
            Line(features).IsOutput(features)) {
            word |= RegisterBit(pin);
        }
    }
    return word;
}

/// Bits without a pin do not stick.
void LineView::WriteDirections(DeviceFeatures& features, unsigned int word) {
    const unsigned int changes = (ReadDirections(features) ^ word) & FindPins(features);
    for (unsigned int pin = 0; pin < kPins && !features.HasFailed(); ++pin) {
        if ((changes & RegisterBit(pin)) == 0 || !SelectLine(features, pin)) {
            continue;
        }
        const Line line(features);
        if (line.mode == nullptr) {
            features.Fail(Failure(ERR_FEATURE_READ_ONLY, "the direction of pin %u is fixed.", pin));
        } else {
            features.SetEntry(line.mode, (word & RegisterBit(pin)) != 0 ? kOutput : kInput);
        }
    }
}

unsigned int LineView::ReadStrobes(DeviceFeatures& features) {
    unsigned int outputs = 0;
    for (unsigned int output = 0; output < kStrobeOutputs; ++output) {
        outputs |= SelectStrobe(features, output) ? RegisterBit(output) : 0;
    }
    return outputs;
}

unsigned int LineView::ReadStrobeInquiry(DeviceFeatures& features, unsigned int output) {
    if (!SelectStrobe(features, output)) {
        return 0;
    }
    const Line line(features);
    const bool canInvert = line.inverter != nullptr && features.CanWrite(line.inverter);
    return StrobeInquiry::kPresence | StrobeInquiry::kReadOut |
           (line.FindDarkSource(features) != nullptr ? StrobeInquiry::kOnOff : 0) |
           (canInvert ? StrobeInquiry::kPolarity : 0);
}

unsigned int LineView::ReadStrobe(DeviceFeatures& features, unsigned int output) {
    if (!SelectStrobe(features, output)) {
        return 0;
    }
    const Line line(features);
    const bool isOn = line.IsOutput(features) && features.GetEntry(line.source) == kExposureActive;
    const bool isInverted = line.inverter != nullptr && features.GetSwitch(line.inverter);
    return StrobeInquiry::kPresence | (isOn ? StrobeControlRegister::kOnOff : 0) |
           StrobeControlRegister::kPolarity.Make(isInverted ? 0 : 1);
}

/// The source is chosen before the line becomes an output, so that it carries nothing else meanwhile.
void LineView::WriteStrobe(DeviceFeatures& features, unsigned int output, unsigned int word) {
    if (!SelectStrobe(features, output)) {
        features.Fail(Failure(ERR_FEATURE_ABSENT, "the camera has no strobe %u.", output));
        return;
    }
    const Line line(features);
    const unsigned int times =
        StrobeControlRegister::kDelay.Get(word) | StrobeControlRegister::kDuration.Get(word);
    if (times != 0) {
        features.Fail(Failure(ERR_VALUE_OUT_OF_RANGE, "delay and duration of strobe %u must be 0.", output));
    }
    const bool isInverted = StrobeControlRegister::kPolarity.Get(word) == 0;
    if (line.inverter != nullptr && features.GetSwitch(line.inverter) != isInverted) {
        features.SetSwitch(line.inverter, isInverted);
    }
    if ((word & StrobeControlRegister::kOnOff) != 0) {
        features.SetEntry(line.source, kExposureActive);
        if (line.mode != nullptr) {
            features.SetEntry(line.mode, kOutput);
        }
    } else if (features.GetEntry(line.source) == kExposureActive) {
        const char* const dark = line.FindDarkSource(features);
        if (dark == nullptr) {
            features.Fail(Failure(ERR_NOT_SUPPORTED, "strobe %u cannot be switched off.", output));
        } else {
            features.SetEntry(line.source, dark);
        }
    }
}

}  // namespace Zevrin
