#pragma once

#include "RegisterFile.h"
#include "TestPicture.h"

namespace Zevrin {

/// At this exposure, in seconds, and without gain the scene comes out as it is.
constexpr double kNeutralExposure = 0.005;

double GainToFactor(double decibels);
double FactorToGain(double factor);

/// What decides how bright each part of the scene comes out.
struct ToneSettings {
    double light = 1;   ///< exposure and gain
    double offset = 0;  ///< share of the full range
    double red = 1;
    double blue = 1;
    double gamma = 1;
    bool usesLut = false;
    unsigned int lutBank = 0;
    unsigned int lutRevision = 0;  ///< moves on whenever an entry changes

    bool operator==(const ToneSettings& other) const;
};

/// The settings of the features in the registers.
/// @param exposure  seconds
ToneSettings ReadToneSettings(const RegisterFile& registers, bool isColor, double exposure);

/// Linear in the light, clipped, then gamma, then the look-up table.
ToneTable MakeTones(const ToneSettings& settings, const RegisterFile& registers, bool isColor);

/// Pictures that ADVANCED register TEST_PATTERN chooses instead of the scene.
enum class TestPattern : unsigned int { kScene, kStill, kBlack, kWhite, kGrey, kCount };

ToneTable MakeFlatTones(unsigned short sample);

}  // namespace Zevrin
