#include "Tones.h"

#include <algorithm>
#include <cmath>

#include "Features.h"
#include "LutRegisters.h"
#include "RegisterFields.h"

namespace Zevrin {

namespace {

constexpr double kFullSample = 65535;
constexpr double kFullScene = 255;
constexpr double kPerCent = 100;
constexpr std::size_t kRed = 0;
constexpr std::size_t kBlue = 2;

}  // namespace

double GainToFactor(double decibels) {
    return std::pow(10, decibels / 20);
}

double FactorToGain(double factor) {
    return 20 * std::log10(factor);
}

bool ToneSettings::operator==(const ToneSettings& other) const {
    return light == other.light && offset == other.offset && red == other.red && blue == other.blue &&
           gamma == other.gamma && usesLut == other.usesLut && lutBank == other.lutBank &&
           lutRevision == other.lutRevision;
}

ToneSettings ReadToneSettings(const RegisterFile& registers, bool isColor, double exposure) {
    ToneSettings settings;
    settings.light = exposure / kNeutralExposure * GainToFactor(GetFeatureValue(registers, kGain));
    settings.offset = GetFeatureValue(registers, kBrightness) / kPerCent;
    if (isColor && IsFeatureOn(registers, kWhiteBalance)) {
        const unsigned int control = registers.Get(ControlOf(kWhiteBalance));
        const double neutral = FindFeature(kWhiteBalance)->reset;
        settings.red = FeatureControl::kValue.Get(control) / neutral;
        settings.blue = FeatureControl::kSecondValue.Get(control) / neutral;
    }
    if (IsFeatureOn(registers, kGamma)) {
        settings.gamma = GetFeatureValue(registers, kGamma);
    }
    settings.usesLut = IsLutOn(registers);
    settings.lutBank = GetLutBank(registers);
    return settings;
}

ToneTable MakeTones(const ToneSettings& settings, const RegisterFile& registers, bool isColor) {
    ToneTable tones{};
    for (std::size_t channel = 0; channel < tones.channels.size(); ++channel) {
        const double balance = channel == kRed ? settings.red : (channel == kBlue ? settings.blue : 1);
        const auto lutChannel = isColor ? static_cast<unsigned int>(channel) : 0U;
        for (std::size_t scene = 0; scene < tones.channels[channel].size(); ++scene) {
            double value =
                static_cast<double>(scene) / kFullScene * settings.light * balance + settings.offset;
            value = std::clamp(value, 0.0, 1.0);
            if (settings.gamma != 1) {
                value = std::pow(value, 1 / settings.gamma);
            }
            auto sample = static_cast<unsigned int>(std::lround(value * kFullSample));
            if (settings.usesLut) {
                sample = ApplyLut(registers, settings.lutBank, lutChannel, sample);
            }
            tones.channels[channel][scene] = static_cast<unsigned short>(sample);
        }
    }
    return tones;
}

ToneTable MakeFlatTones(unsigned short sample) {
    ToneTable tones{};
    for (auto& channel : tones.channels) {
        channel.fill(sample);
    }
    return tones;
}

}  // namespace Zevrin
