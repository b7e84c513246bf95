#include "Strobe.h"

#include <cmath>
#include <limits>

#include "RegisterCamera.h"

namespace Zevrin {
namespace {

constexpr char kRegisters[] = R"(40C=10000000 48C=3C0600 1800=60000000
1904=8E00AFFF 1A04=80000064 # output 1: switch, polarity, 0.1 to 40.95 ms
1908=88000FFF 1A08=81000000 # output 2: neither switch nor polarity)";

class StrobeTest : public RegisterCamera<Strobe> {
  protected:
    StrobeTest() : RegisterCamera(kRegisters) {}
};

TEST_F(StrobeTest, TellsWhatIsThere) {
    StrobeInfo info;
    info.source = 1;
    ASSERT_EQ(m_component.GetStrobeInfo(&info), ERR_OK);
    EXPECT_TRUE(info.present && info.readOutSupported && info.onOffSupported && info.polaritySupported);
    EXPECT_EQ(info.minValue, 0.1F);
    EXPECT_EQ(info.maxValue, 40.95F);
    StrobeControl control;
    control.source = 1;
    ASSERT_EQ(m_component.GetStrobe(&control), ERR_OK);
    EXPECT_EQ(control.duration, 1.0F);
    EXPECT_FALSE(control.onOff);
    control.source = 2;
    ASSERT_EQ(m_component.GetStrobe(&control), ERR_OK);
    EXPECT_TRUE(control.onOff) << "it cannot be switched off";
    control.source = 3;
    EXPECT_TRUE(SaysPart(m_component.GetStrobe(&control), ERR_FEATURE_ABSENT, "strobe 3"));
    info.source = 3;
    EXPECT_EQ(m_component.GetStrobeInfo(&info), ERR_OK);
    EXPECT_FALSE(info.present);
    info.source = 4;
    EXPECT_EQ(m_component.GetStrobeInfo(&info), ERR_VALUE_OUT_OF_RANGE);
    ExpectRefused({m_component.GetStrobeInfo(nullptr), m_component.GetStrobe(nullptr),
                   m_component.SetStrobe(nullptr, false)});
}

TEST_F(StrobeTest, SetsInHundredthsOfAMillisecondWhatIsInRange) {
    const float nan = std::nanf("");
    const float infinity = std::numeric_limits<float>::infinity();
    ExpectOutcomes<StrobeControl>(
        {{"", {1, true, 1, 40.95F, 0, {}}, ERR_OK, "1A04=83FFF000"},  // 0: as long as the exposure
         {"", {1, false, 1, 0.104F, 0.106F, {}}, ERR_OK, "1A04=8100A00B"},
         {"", {2, true, 0, 1, 1, {}}, ERR_NOT_SUPPORTED, "polarity of strobe 2"},
         {"", {2, false, 1, 1, 1, {}}, ERR_NOT_SUPPORTED, "Strobe 2 of this camera cannot be switched off"},
         {"", {3, true, 0, 1, 1, {}}, ERR_FEATURE_ABSENT, "strobe 3"},
         {"40C=0", {1, true, 0, 1, 1, {}}, ERR_FEATURE_ABSENT, "strobe 1"},
         {"", {4, true, 0, 1, 1, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 3"},
         {"", {1, true, 2, 1, 1, {}}, ERR_VALUE_OUT_OF_RANGE, "active high"},
         {"", {1, true, 0, 0, 1, {}}, ERR_VALUE_OUT_OF_RANGE, "strobe 1 is to be 0 ms; it must be 0.1 to"},
         {"", {1, true, 0, 1, 40.96F, {}}, ERR_VALUE_OUT_OF_RANGE, "duration of strobe 1"},
         {"", {1, true, 0, -1, 1, {}}, ERR_VALUE_OUT_OF_RANGE, "delay"},
         {"", {1, true, 0, nan, 1, {}}, ERR_VALUE_OUT_OF_RANGE, "delay"},
         {"", {1, true, 0, 1, infinity, {}}, ERR_VALUE_OUT_OF_RANGE, "duration"}},
        [&](const StrobeControl& control) { return m_component.SetStrobe(&control, false); });
    const StrobeControl control{1, true, 0, 1, 1, {}};
    EXPECT_EQ(m_component.SetStrobe(&control, true), ERR_OK);
    EXPECT_EQ(m_pHardware->m_broadcasts, 1U);
}

}  // namespace
}  // namespace Zevrin
