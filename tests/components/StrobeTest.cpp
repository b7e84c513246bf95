#include "Strobe.h"

#include <cmath>
#include <limits>

#include "RegisterCamera.h"

namespace Zevrin {
namespace {

constexpr unsigned int kBlock = 0xF01800U;

class StrobeTest : public RegisterCamera<Strobe> {
  protected:
    StrobeTest() {
        m_pHardware->m_hasOnlyWhatWasSet = true;
        SetRegisters({{0x40C, 0x10000000}, {0x48C, kBlock / 4}});
        // Output 1: switch, polarity, 0.1 to 40.95 ms. Output 2: neither.
        SetBlock(kBlock, {{0x000, 0x60000000},
                          {0x104, 0x8E00AFFFU},
                          {0x204, 0x80000064},
                          {0x108, 0x88000FFFU},
                          {0x208, 0x81000000}});
    }
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

    for (const bool hasStrobes : {true, false}) {
        SetRegisters({{0x40C, hasStrobes ? 0x10000000U : 0U}});
        info.source = 3;
        EXPECT_EQ(m_component.GetStrobeInfo(&info), ERR_OK);
        EXPECT_FALSE(info.present);
        control.source = 3;
        EXPECT_TRUE(SaysPart(m_component.GetStrobe(&control), ERR_FEATURE_ABSENT, "strobe 3"));
        EXPECT_TRUE(SaysPart(m_component.SetStrobe(&control, false), ERR_FEATURE_ABSENT, "strobe 3"));
    }
}

TEST_F(StrobeTest, SetsInHundredthsOfAMillisecond) {
    StrobeControl control;
    control.source = 1;
    control.onOff = true;
    control.polarity = 1;
    control.delay = 40.95F;
    EXPECT_EQ(m_component.SetStrobe(&control, false), ERR_OK) << "a duration of 0 is as long as exposure";
    EXPECT_EQ(m_pHardware->Base(kBlock + 0x204), 0x83FFF000U);
    control.onOff = false;
    control.delay = 0.104F;
    control.duration = 0.106F;
    EXPECT_EQ(m_component.SetStrobe(&control, true), ERR_OK);
    EXPECT_EQ(m_pHardware->Base(kBlock + 0x204), 0x8100A00BU);
    EXPECT_EQ(m_pHardware->m_broadcasts, 1U);
}

TEST_F(StrobeTest, RefusesByNameAndWithTheRange) {
    const float nan = std::nanf("");
    const float infinity = std::numeric_limits<float>::infinity();
    const struct {
        StrobeControl control;
        ErrorType error;
        const char* text;
    } rows[] = {
        {{4, true, 0, 1, 1, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 3"},
        {{1, true, 2, 1, 1, {}}, ERR_VALUE_OUT_OF_RANGE, "active high"},
        {{1, true, 0, 0, 1, {}}, ERR_VALUE_OUT_OF_RANGE, "strobe 1 is to be 0 ms; it must be 0.1 to"},
        {{1, true, 0, 1, 40.96F, {}}, ERR_VALUE_OUT_OF_RANGE, "duration of strobe 1"},
        {{1, true, 0, -1, 1, {}}, ERR_VALUE_OUT_OF_RANGE, "delay"},
        {{1, true, 0, nan, 1, {}}, ERR_VALUE_OUT_OF_RANGE, "delay"},
        {{1, true, 0, 1, infinity, {}}, ERR_VALUE_OUT_OF_RANGE, "duration"},
        {{2, false, 1, 1, 1, {}}, ERR_NOT_SUPPORTED, "Strobe 2 of this camera cannot be switched off"},
        {{2, true, 0, 1, 1, {}}, ERR_NOT_SUPPORTED, "polarity of strobe 2"},
    };
    ExpectRefusals(rows, [&](const auto& row) { return m_component.SetStrobe(&row.control, false); });
    StrobeInfo info;
    info.source = 4;
    EXPECT_EQ(m_component.GetStrobeInfo(&info), ERR_VALUE_OUT_OF_RANGE);
    ExpectRefused({m_component.GetStrobeInfo(nullptr), m_component.GetStrobe(nullptr),
                   m_component.SetStrobe(nullptr, false)});
}

}  // namespace
}  // namespace Zevrin
