#include "Trigger.h"

#include <cmath>
#include <limits>

#include "RegisterCamera.h"
#include "Strobe.h"

namespace Zevrin {
namespace {

constexpr char kTriggerRegisters[] = R"(404=80000
530=8EA1C001 # switch and polarity, sources 0 and 2, software trigger, modes 0, 1 and 15
830=83F10005 # on, active high, source 7, mode 1, parameter 5, and the raw input, which only the camera sets
62C=0)";

class TriggerTest : public RegisterCamera<Trigger> {
  protected:
    TriggerTest() : RegisterCamera(kTriggerRegisters) {}
};

TEST_F(TriggerTest, TellsWhatIsThere) {
    TriggerModeInfo info;
    ASSERT_EQ(m_component.GetTriggerModeInfo(&info), ERR_OK);
    EXPECT_TRUE(info.present && info.readOutSupported && !info.valueReadable);
    TriggerMode mode;
    ASSERT_EQ(m_component.GetTriggerMode(&mode), ERR_OK);
    EXPECT_TRUE(mode.onOff && mode.polarity == 1 && mode.source == 7 && mode.mode == 1 &&
                mode.parameter == 5);
    Have("404=0");
    ASSERT_EQ(m_component.GetTriggerModeInfo(&info), ERR_OK);
    EXPECT_FALSE(info.present);
    EXPECT_EQ(m_component.GetTriggerMode(&mode), ERR_FEATURE_ABSENT);
    ExpectRefused({m_component.SetTriggerMode(nullptr, false), m_component.GetTriggerMode(nullptr),
                   m_component.GetTriggerModeInfo(nullptr)});
}

TEST_F(TriggerTest, SetsWhatIsThereAndKeepsTheRest) {
    ExpectOutcomes<TriggerMode>(
        {{"", {false, 0, 2, 15, 0xFFF, {}}, ERR_OK, "830=805F0FFF"},
         {"", {true, 1, 2, 15, 0xFFF, {}}, ERR_OK, "830=835F0FFF"},
         // What is set already may stay, also source 6 and mode 5, which it does not offer.
         {"830=82C50000", {false, 0, 6, 5, 0, {}}, ERR_OK, "830=80C50000"},
         {"", {true, 2, 0, 0, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "active high"},
         {"", {true, 0, 1, 0, 0, {}}, ERR_INVALID_MODE, "no trigger source 1; it has 0, 2, 7"},
         {"", {true, 0, 39, 0, 0, {}}, ERR_INVALID_MODE, "source 39"},
         {"", {true, 0, 0, 2, 0, {}}, ERR_INVALID_MODE, "no trigger mode 2; it has 0, 1, 15"},
         {"", {true, 0, 0, 0xFFFFFFFFU, 0, {}}, ERR_INVALID_MODE, "mode 4294967295"},
         {"", {true, 0, 0, 0, 4096, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 4095"},
         {"530=88A1C001", {false, 1, 0, 0, 0, {}}, ERR_NOT_SUPPORTED, "switched off"},
         {"530=88A1C001", {true, 0, 0, 0, 0, {}}, ERR_NOT_SUPPORTED, "polarity"},
         {"404=0", {true, 0, 0, 0, 0, {}}, ERR_FEATURE_ABSENT, "no trigger"}},
        [&](const TriggerMode& mode) { return m_component.SetTriggerMode(&mode, false); });
    const TriggerMode mode;
    EXPECT_EQ(m_component.SetTriggerMode(&mode, true), ERR_OK);
    EXPECT_EQ(m_pHardware->m_broadcasts, 1U);
}

TEST_F(TriggerTest, TheSoftwareTriggerNeedsATriggerThatListensToIt) {
    ExpectOutcomes<bool>({{"830=83EF0000", false, ERR_OK, "62C=80000000"},
                          {"", false, ERR_TRIGGER_FAILED, "In mode 1"},
                          {"830=81E00000", false, ERR_TRIGGER_FAILED, "off"},
                          {"830=82400000", false, ERR_TRIGGER_FAILED, "source 2"},
                          {"530=8EA0C001", false, ERR_FEATURE_ABSENT, "software trigger"}},
                         [&](bool broadcast) { return m_component.FireSoftwareTrigger(broadcast); });
}

constexpr char kStrobeRegisters[] = R"(40C=10000000 48C=3C0600 1800=60000000
1904=8E00AFFF 1A04=80000064 # output 1: switch, polarity, 0.1 to 40.95 ms
1908=88000FFF 1A08=81000000 # output 2: neither switch nor polarity)";

class StrobeTest : public RegisterCamera<Strobe> {
  protected:
    StrobeTest() : RegisterCamera(kStrobeRegisters) {}
};

TEST_F(StrobeTest, TellsWhatIsThere) {
    StrobeControl control;
    StrobeInfo info;
    for (const unsigned int source : {1U, 2U}) {
        control.source = info.source = source;
        ASSERT_EQ(m_component.GetStrobe(&control), ERR_OK);
        ASSERT_EQ(m_component.GetStrobeInfo(&info), ERR_OK);
        EXPECT_TRUE(info.present && info.readOutSupported);
        EXPECT_EQ(info.onOffSupported && info.polaritySupported, source == 1);
        EXPECT_EQ(control.onOff, source == 2) << "it cannot be switched off";
    }
    control.source = info.source = 3;
    EXPECT_TRUE(SaysPart(m_component.GetStrobe(&control), ERR_FEATURE_ABSENT, "strobe 3"));
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
         {"",
          {1, true, 0, 0, 1, {}},
          ERR_VALUE_OUT_OF_RANGE,
          "strobe 1 is to be 0 ms; it must be 0.1 to 40.95"},
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
