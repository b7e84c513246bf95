#include "Features.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "DeviceLayout.h"
#include "RegisterFields.h"

namespace Zevrin {

namespace {

namespace Can = FeatureInquiry;

constexpr unsigned int kManual = Can::kPresence | Can::kReadOut | Can::kManual;
constexpr unsigned int kSwitched = kManual | Can::kOnOff;
constexpr unsigned int kReadOnly = Can::kPresence | Can::kReadOut | Can::kAbsolute;
constexpr unsigned int kOn = FeatureControl::kOnOff;
constexpr unsigned int kOff = 0;

}  // namespace

const FeatureRow kFeatures[kFeatureCount] = {
    // Per cent of the full range, added to every pixel.
    {kBrightness, "BRIGHTNESS", kManual | Can::kAbsolute, 0, 1000, 0, 10, 0, kOn, false},
    {kAutoExposure, "AUTO_EXPOSURE", kSwitched | Can::kAbsolute, 0, 1000, -5, 5, 500, kOn, false},
    {kSharpness, "SHARPNESS", kManual, 0, 255, 0, 0, 128, kOn, false},
    {kWhiteBalance, "WHITE_BALANCE", kSwitched | Can::kAuto | Can::kOnePush, 0, 1023, 0, 0, 512, kOn, true},
    {kHue, "HUE", kSwitched | Can::kAbsolute, 0, 3600, -180, 180, 1800, kOn, true},
    {kSaturation, "SATURATION", kSwitched | Can::kAbsolute, 0, 4000, 0, 400, 1000, kOn, true},
    {kGamma, "GAMMA", kSwitched | Can::kAbsolute, 50, 400, 0.5, 4, 100, kOff, false},
    {kShutter, "SHUTTER", kManual | Can::kAbsolute | Can::kAuto | Can::kOnePush, 1, 4095, 0.00002, 0.0819,
     250, kOn, false},
    {kGain, "GAIN", kManual | Can::kAbsolute | Can::kAuto | Can::kOnePush, 0, 240, 0, 24, 0, kOn, false},
    // In kelvin; a tenth of one for each raw unit.
    {kTemperature, "TEMPERATURE", kReadOnly, 2232, 3732, 223.2, 373.2, 2982, kOn, false},
    {kTriggerDelay, "TRIGGER_DELAY", kSwitched | Can::kAbsolute, 0, 4095, 0, 0.0819, 0, kOff, false},
    {kFrameRate, "FRAME_RATE", kSwitched | Can::kAbsolute, 1, 4000, 0.25, 1000, 60,
     kOn | FeatureControl::kAbsolute, false},
};

const FeatureRow* FindFeature(unsigned int bit) {
    const auto* found = std::find_if(std::begin(kFeatures), std::end(kFeatures),
                                     [bit](const FeatureRow& row) { return row.bit == bit; });
    return found != std::end(kFeatures) ? found : nullptr;
}

double ToAbsolute(const FeatureRow& row, unsigned int raw) {
    return row.absoluteMin +
           (raw - row.min) * (row.absoluteMax - row.absoluteMin) / static_cast<double>(row.max - row.min);
}

unsigned int ToRaw(const FeatureRow& row, double absolute) {
    const double share = (absolute - row.absoluteMin) / (row.absoluteMax - row.absoluteMin);
    return row.min +
           static_cast<unsigned int>(std::lround(std::clamp(share, 0.0, 1.0) * (row.max - row.min)));
}

unsigned int ControlOf(unsigned int bit) {
    return Register::kHighControl + kRegisterSize * bit;
}

unsigned int AbsoluteValueOf(unsigned int bit) {
    return Block::kAbsolute + Block::kAbsoluteSize * bit + AbsoluteBlock::kValue;
}

unsigned int FloatToWord(double value) {
    const auto single = static_cast<float>(value);
    unsigned int word = 0;
    static_assert(sizeof(word) == sizeof(single), "IEEE-754 single precision");
    std::memcpy(&word, &single, sizeof(word));
    return word;
}

double WordToFloat(unsigned int word) {
    float single = 0;
    std::memcpy(&single, &word, sizeof(word));
    return static_cast<double>(single);
}

double GetFeatureValue(const RegisterFile& registers, Feature feature) {
    const unsigned int control = registers.Get(ControlOf(feature));
    return (control & FeatureControl::kAbsolute) != 0
               ? WordToFloat(registers.Get(AbsoluteValueOf(feature)))
               : ToAbsolute(*FindFeature(feature), FeatureControl::kValue.Get(control));
}

bool IsFeatureOn(const RegisterFile& registers, Feature feature) {
    return (registers.Get(ControlOf(feature)) & FeatureControl::kOnOff) != 0;
}

bool IsFeatureAuto(const RegisterFile& registers, Feature feature) {
    return (registers.Get(ControlOf(feature)) & FeatureControl::kAuto) != 0;
}

void SetFeatureValue(RegisterFile* pRegisters, Feature feature, double absolute) {
    const FeatureRow& row = *FindFeature(feature);
    const double value = std::clamp(absolute, row.absoluteMin, row.absoluteMax);
    const unsigned int control = pRegisters->Get(ControlOf(feature));
    pRegisters->Set(ControlOf(feature), FeatureControl::kValue.Put(control, ToRaw(row, value)));
    pRegisters->Set(AbsoluteValueOf(feature), FloatToWord(value));
}

}  // namespace Zevrin
