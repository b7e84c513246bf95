#pragma once

#include <cstddef>

#include "RegisterFile.h"

namespace Zevrin {

/// The features of a simulated camera, by their bits in FEATURE_HI_INQ. The trigger has a register of its
/// own kind.
enum Feature : unsigned int {
    kBrightness = 0,
    kAutoExposure = 1,
    kSharpness = 2,
    kWhiteBalance = 3,
    kHue = 4,
    kSaturation = 5,
    kGamma = 6,
    kShutter = 7,
    kGain = 8,
    kTemperature = 11,
    kTriggerDelay = 13,
    kFrameRate = 15
};

/// What is the same for every simulated camera about one feature.
struct FeatureRow {
    Feature bit;
    const char* name;
    unsigned int abilities;  ///< bits of FeatureInquiry
    unsigned int min;        ///< raw
    unsigned int max;        ///< raw
    double absoluteMin;      ///< at `min`, in the standard's unit; it rises linearly to
    double absoluteMax;      ///< at `max`; both 0: no absolute control
    unsigned int reset;      ///< raw, also of a second value
    unsigned int resetBits;  ///< bits of FeatureControl after power-up
    bool isColorOnly;
};

constexpr std::size_t kFeatureCount = 12;
extern const FeatureRow kFeatures[kFeatureCount];

/// Null for a feature that no simulated camera has.
const FeatureRow* FindFeature(unsigned int bit);

constexpr bool HasAbsolute(const FeatureRow& row) {
    return row.absoluteMax > row.absoluteMin;
}
double ToAbsolute(const FeatureRow& row, unsigned int raw);
unsigned int ToRaw(const FeatureRow& row, double absolute);

/// Where the registers of a feature are, as offsets from the command registers.
unsigned int ControlOf(unsigned int bit);
unsigned int AbsoluteValueOf(unsigned int bit);

unsigned int FloatToWord(double value);
double WordToFloat(unsigned int word);

/// The value that rules, in the standard's unit, of a feature with absolute control.
double GetFeatureValue(const RegisterFile& registers, Feature feature);
bool IsFeatureOn(const RegisterFile& registers, Feature feature);
bool IsFeatureAuto(const RegisterFile& registers, Feature feature);

/// Puts a value into both registers of a feature with absolute control, within its range.
void SetFeatureValue(RegisterFile* pRegisters, Feature feature, double absolute);

}  // namespace Zevrin
