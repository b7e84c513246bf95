#include "FeatureTable.h"

namespace Zevrin {

namespace {

constexpr double kSecondsPerMicrosecond = 1e-6;
constexpr double kLongestTimeUs = 3600e6;
constexpr double kKelvinAtZeroCelsius = 273.15;
constexpr double kRawPerKelvin = 10;
constexpr double kMaxRaw = 4095;

constexpr FeatureLimits Within(double min, double max) {
    return {min, max, 0, true};
}

constexpr ValueFeature Time(const char* feature) {
    return {feature, FeatureUnit::kLinear, kSecondsPerMicrosecond, 0, Within(0, kLongestTimeUs)};
}

constexpr ValueFeature Plain(const char* feature, double min, double max) {
    return {feature, FeatureUnit::kLinear, 1, 0, Within(min, max)};
}

constexpr ValueFeature Share(const char* feature) {
    return {feature, FeatureUnit::kPerCent, 1, 0, Within(-65536, 65536)};
}

constexpr ValueFeature Raw(const char* feature, double max = kMaxRaw) {
    return {feature, FeatureUnit::kNone, 1, 0, Within(0, max)};
}

constexpr ValueFeature Celsius(const char* feature) {
    return {feature, FeatureUnit::kLinear, 1, kKelvinAtZeroCelsius, Within(-kKelvinAtZeroCelsius, 136)};
}

}  // namespace

// In the units of the naming standard: times in microseconds, gain in decibel, rates in frames a second,
// temperatures in degrees Celsius. Of names that end in Raw nobody says what their unit is.
const PropertyMapping kPropertyMappings[kPropertyMappingCount] = {
    {0,  // brightness
     {Share("BlackLevel"), Share("BlackLevelAbs"), Raw("BlackLevelRaw")},
     0,
     {"BlackLevelAuto"},
     {},
     {"BlackLevelSelector", {"All", "AnalogAll", "DigitalAll"}},
     nullptr},
    {2,  // sharpness
     {Raw("Sharpness"), Raw("SharpnessRaw")},
     0,
     {"SharpnessAuto"},
     {"SharpnessEnable", "SharpnessEnabled"},
     {},
     nullptr},
    {3,  // white balance: the first value (V) is red, the second (U) blue
     {Raw("BalanceRatio", 64), Raw("BalanceRatioAbs", 64), Raw("BalanceRatioRaw")},
     0,
     {"BalanceWhiteAuto"},
     {},
     {"BalanceRatioSelector", {"Red"}},
     "Blue"},
    {5,  // saturation
     {Share("Saturation"), Share("SaturationAbs"), Raw("SaturationRaw")},
     0,
     {"SaturationAuto"},
     {"SaturationEnable", "SaturationEnabled"},
     {},
     nullptr},
    {6,  // gamma
     {Plain("Gamma", 0, 16), Plain("GammaAbs", 0, 16), Raw("GammaRaw")},
     0,
     {},
     {"GammaEnable", "GammaEnabled"},
     {},
     nullptr},
    {7,  // shutter
     {Time("ExposureTime"), Time("ExposureTimeAbs"), Raw("ExposureTimeRaw", kLongestTimeUs)},
     0,
     {"ExposureAuto"},
     {},
     {"ExposureTimeSelector", {"Common"}},
     nullptr},
    {8,  // gain
     {Plain("Gain", -100, 200), Plain("GainAbs", -100, 200), Raw("GainRaw", 65535)},
     0,
     {"GainAuto"},
     {},
     {"GainSelector", {"All", "AnalogAll", "DigitalAll"}},
     nullptr},
    {11,  // temperature
     {Celsius("DeviceTemperature"), Celsius("TemperatureAbs")},
     kRawPerKelvin,
     {},
     {},
     {"DeviceTemperatureSelector", {"Sensor", "Mainboard"}},
     nullptr},
    {13,  // trigger delay
     {Time("TriggerDelay"), Time("TriggerDelayAbs"), Raw("TriggerDelayRaw", kLongestTimeUs)},
     0,
     {},
     {},
     kTriggerSelector,
     nullptr},
    {15,  // frame rate
     {Plain("AcquisitionFrameRate", 0, 1e6), Plain("AcquisitionFrameRateAbs", 0, 1e6),
      Raw("AcquisitionFrameRateRaw", 1e6)},
     0,
     {"AcquisitionFrameRateAuto"},
     {"AcquisitionFrameRateEnable", "AcquisitionFrameRateEnabled"},
     {},
     nullptr},
};

}  // namespace Zevrin
