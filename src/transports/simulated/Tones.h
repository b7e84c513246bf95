#pragma once

#include <array>
#include <boost/smart_ptr/shared_ptr.hpp>

#include "LutRegisters.h"
#include "RegisterFile.h"

namespace Zevrin {

/// At this exposure, in seconds, and without gain the scene comes out as it is.
constexpr double kNeutralExposure = 0.005;

double GainToFactor(double decibels);
double FactorToGain(double factor);

/// Pictures that ADVANCED register TEST_PATTERN chooses instead of the scene, unchanged by features.
enum class TestPattern : unsigned int { kScene, kStill, kBlack, kWhite, kGrey, kCount };

/// What decides how bright each part of the scene comes out.
struct ToneSettings {
    TestPattern pattern = TestPattern::kStill;
    double light = 1;   ///< exposure and gain; this and what follows only of the scene
    double offset = 0;  ///< share of the full range
    double red = 1;
    double blue = 1;
    double gamma = 1;
    boost::shared_ptr<const LutBank> pLut;  ///< null: none is used

    bool operator==(const ToneSettings& other) const;
};

/// The settings of the features in the registers, but for the look-up table.
/// @param exposure  seconds
ToneSettings ReadToneSettings(const RegisterFile& registers, bool isColor, double exposure);

/// Samples of 16 bits, by brightness of the scene, for red, green and blue.
struct ToneTable {
    std::array<std::array<unsigned short, 256>, 3> channels;
};

/// Linear in the light, clipped, then gamma, then the look-up table.
ToneTable MakeTones(const ToneSettings& settings);

}  // namespace Zevrin
