#include "Trigger.h"

#include "RegisterCamera.h"

namespace Zevrin {
namespace {

constexpr char kRegisters[] = R"(404=80000
530=8EA1C001 # switch and polarity, sources 0 and 2, software trigger, modes 0, 1 and 15
830=83F10005 # on, active high, source 7, mode 1, parameter 5, and the raw input, which only the camera sets
62C=0)";

class TriggerTest : public RegisterCamera<Trigger> {
  protected:
    TriggerTest() : RegisterCamera(kRegisters) {}
};

TEST_F(TriggerTest, TellsWhatIsThere) {
    TriggerModeInfo info;
    ASSERT_EQ(m_component.GetTriggerModeInfo(&info), ERR_OK);
    EXPECT_TRUE(info.present && info.readOutSupported && info.onOffSupported && info.polaritySupported &&
                info.softwareTriggerSupported);
    EXPECT_FALSE(info.valueReadable);
    EXPECT_EQ(info.sourceMask, 0x85U);
    EXPECT_EQ(info.modeMask, 0x8003U);
    TriggerMode mode;
    ASSERT_EQ(m_component.GetTriggerMode(&mode), ERR_OK);
    EXPECT_TRUE(mode.onOff);
    EXPECT_EQ((std::vector<unsigned int>{mode.polarity, mode.source, mode.mode, mode.parameter}),
              (std::vector<unsigned int>{1, 7, 1, 5}));
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
                          {"530=8EA0C001", false, ERR_FEATURE_ABSENT, "software trigger"},
                          {"404=0", false, ERR_FEATURE_ABSENT, "no trigger"}},
                         [&](bool broadcast) { return m_component.FireSoftwareTrigger(broadcast); });
}

}  // namespace
}  // namespace Zevrin
