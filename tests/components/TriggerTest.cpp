#include "Trigger.h"

#include "RegisterCamera.h"

namespace Zevrin {
namespace {

constexpr unsigned int kPresent = 0x80000000U;

/// Switch and polarity, sources 0 and 2, software trigger, modes 0, 1 and 15.
constexpr unsigned int kInquiry = 0x8EA1C001U;

class TriggerTest : public RegisterCamera<Trigger> {
  protected:
    TriggerTest() {
        m_pHardware->m_hasOnlyWhatWasSet = true;
        // On, active high, source 7, mode 1, parameter 5, and the raw input, which only the camera sets.
        SetRegisters({{0x404, 0x00080000}, {0x530, kInquiry}, {0x830, 0x83F10005U}, {0x62C, 0}});
    }
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

    SetRegisters({{0x404, 0}});
    ASSERT_EQ(m_component.GetTriggerModeInfo(&info), ERR_OK);
    EXPECT_FALSE(info.present);
    EXPECT_EQ(m_component.GetTriggerMode(&mode), ERR_FEATURE_ABSENT);
    EXPECT_EQ(m_component.SetTriggerMode(&mode, false), ERR_FEATURE_ABSENT);
    EXPECT_EQ(m_component.FireSoftwareTrigger(false), ERR_FEATURE_ABSENT);
}

TEST_F(TriggerTest, SetsWhatIsAskedAndKeepsTheRest) {
    TriggerMode mode;
    mode.source = 2;
    mode.mode = 15;
    mode.parameter = 0xFFF;
    EXPECT_EQ(m_component.SetTriggerMode(&mode, false), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x830), 0x805F0FFFU);
    mode.onOff = true;
    mode.polarity = 1;
    EXPECT_EQ(m_component.SetTriggerMode(&mode, true), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x830), 0x835F0FFFU);
    EXPECT_EQ(m_pHardware->m_broadcasts, 1U);

    SetRegisters({{0x830, 0x82C50000U}});  // source 6 and mode 5, which it does not offer
    EXPECT_EQ(m_component.GetTriggerMode(&mode), ERR_OK);
    mode.onOff = false;
    EXPECT_EQ(m_component.SetTriggerMode(&mode, false), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x830), 0x80C50000U);
}

TEST_F(TriggerTest, RefusesWhatIsNotThereAndNamesWhatIs) {
    const struct {
        TriggerMode mode;
        ErrorType error;
        const char* text;
    } rows[] = {
        {{true, 2, 0, 0, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "active high"},
        {{true, 0, 1, 0, 0, {}}, ERR_INVALID_MODE, "no trigger source 1; it has 0, 2, 7"},
        {{true, 0, 39, 0, 0, {}}, ERR_INVALID_MODE, "source 39"},
        {{true, 0, 0, 2, 0, {}}, ERR_INVALID_MODE, "no trigger mode 2; it has 0, 1, 15"},
        {{true, 0, 0, 0xFFFFFFFFU, 0, {}}, ERR_INVALID_MODE, "mode 4294967295"},
        {{true, 0, 0, 0, 4096, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 4095"},
    };
    ExpectRefusals(rows, [&](const auto& row) { return m_component.SetTriggerMode(&row.mode, false); });
    SetRegisters({{0x530, kInquiry & ~0x06000000U}});
    TriggerMode mode;
    EXPECT_TRUE(SaysPart(m_component.SetTriggerMode(&mode, false), ERR_NOT_SUPPORTED, "switched off"));
    mode.onOff = true;
    EXPECT_TRUE(SaysPart(m_component.SetTriggerMode(&mode, false), ERR_NOT_SUPPORTED, "polarity"));
    EXPECT_EQ(m_pHardware->Register(0x830), 0x83F10005U);
    ExpectRefused({m_component.SetTriggerMode(nullptr, false), m_component.GetTriggerMode(nullptr),
                   m_component.GetTriggerModeInfo(nullptr)});
}

TEST_F(TriggerTest, TheSoftwareTriggerNeedsATriggerThatListensToIt) {
    EXPECT_TRUE(SaysPart(m_component.FireSoftwareTrigger(false), ERR_TRIGGER_FAILED, "In mode 1"));
    SetRegisters({{0x830, 0x83EF0000U}});
    EXPECT_EQ(m_component.FireSoftwareTrigger(false), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x62C), kPresent);
    SetRegisters({{0x62C, 0}, {0x830, 0x81E00000U}});
    EXPECT_TRUE(SaysPart(m_component.FireSoftwareTrigger(false), ERR_TRIGGER_FAILED, "off"));
    SetRegisters({{0x830, 0x82400000U}});
    EXPECT_TRUE(SaysPart(m_component.FireSoftwareTrigger(false), ERR_TRIGGER_FAILED, "source 2"));
    SetRegisters({{0x530, kInquiry & ~0x00010000U}});
    EXPECT_TRUE(SaysPart(m_component.FireSoftwareTrigger(false), ERR_FEATURE_ABSENT, "software trigger"));
    EXPECT_EQ(m_pHardware->Register(0x62C), 0U);
}

}  // namespace
}  // namespace Zevrin
