#include "Tones.h"

#include <algorithm>
#include <cmath>

#include "Features.h"
#include "RegisterFields.h"

namespace Zevrin {

namespace {

constexpr double kFullSample = 65535;
constexpr double kFullScene = 255;
constexpr double kPerCent = 100;
constexpr std::size_t kRed = 0;
constexpr std::size_t kBlue = 2;

/// Share of the full range at a brightness of the scene, 0 to 1.
double GetLight(const ToneSettings& settings, double scene, double balance) {
    constexpr double kGrey = 0x8000 / kFullSample;
    switch (settings.pattern) {
        case TestPattern::kBlack:
            return 0;
        case TestPattern::kWhite:
            return 1;
        case TestPattern::kGrey:
            return kGrey;
        default:
            return std::clamp(scene * settings.light * balance + settings.offset, 0.0, 1.0);
    }
}

}  // namespace

double GainToFactor(double decibels) {
    return std::pow(10, decibels / 20);
}

double FactorToGain(double factor) {
    return 20 * std::log10(factor);
}

bool ToneSettings::operator==(const ToneSettings& other) const {
    return pattern == other.pattern && light == other.light && offset == other.offset && red == other.red &&
           blue == other.blue && gamma == other.gamma && pLut == other.pLut;
}

ToneSettings ReadToneSettings(const RegisterFile& registers, bool isColor, double exposure) {
    ToneSettings settings;
    settings.pattern = TestPattern::kScene;
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
    return settings;
}

ToneTable MakeTones(const ToneSettings& settings) {
    ToneTable tones{};
    for (std::size_t channel = 0; channel < tones.channels.size(); ++channel) {
        const double balance = channel == kRed ? settings.red : (channel == kBlue ? settings.blue : 1);
        for (std::size_t scene = 0; scene < tones.channels[channel].size(); ++scene) {
            double value = GetLight(settings, static_cast<double>(scene) / kFullScene, balance);
            if (settings.gamma != 1) {
                value = std::pow(value, 1 / settings.gamma);
            }
            auto sample = static_cast<unsigned int>(std::lround(value * kFullSample));
            if (settings.pLut) {
                sample = ApplyLut(*settings.pLut, channel, sample);
            }
            tones.channels[channel][scene] = static_cast<unsigned short>(sample);
        }
    }
    return tones;
}

}  // namespace Zevrin
