#include "Lut.h"

#include "RegisterCamera.h"

namespace Zevrin {
namespace {

constexpr unsigned int kBlock = 0xF80000U;
constexpr unsigned int kEntries = 512;

class LutTest : public RegisterCamera<Lut> {
  protected:
    LutTest() : m_ramp(kEntries) {
        SetRegisters({{0x40C, 0x08000000}, {0x490, kBlock / 4}});
        // Switchable, 9 bits to 8 bits, 3 banks of 2 channels; bank 0 read only, bank 1 both, bank 2 neither.
        SetBlock(kBlock, {{0, 0x84090832U}, {4, 0x00000001}, {8, 0xB0000000U}});
        std::generate(m_ramp.begin(), m_ramp.end(), [next = 0U]() mutable { return next++ / 2; });
    }

    std::vector<unsigned int> m_ramp;
};

TEST_F(LutTest, TellsWhatIsThere) {
    LUTData data;
    ASSERT_EQ(m_component.QuerySupport(&data), ERR_OK);
    EXPECT_TRUE(data.supported);
    EXPECT_FALSE(data.enabled);
    EXPECT_EQ(data.numBanks * 10 + data.numChannels, 32U);
    EXPECT_EQ(data.inputBitDepth * 10 + data.outputBitDepth, 98U);
    EXPECT_EQ(data.numEntries, kEntries);
    const bool expected[][2] = {{true, false}, {true, true}, {false, false}};
    for (unsigned int bank = 0; bank < 3; ++bank) {
        bool status[2] = {};
        ASSERT_EQ(m_component.QueryBankStatus(bank, &status[0], &status[1]), ERR_OK);
        EXPECT_TRUE(status[0] == expected[bank][0] && status[1] == expected[bank][1]) << bank;
    }
    SetRegisters({{0x40C, 0}});
    ASSERT_EQ(m_component.QuerySupport(&data), ERR_OK);
    EXPECT_FALSE(data.supported);
    unsigned int bank = 0;
    EXPECT_TRUE(SaysPart(m_component.GetActiveBank(&bank), ERR_FEATURE_ABSENT, "look-up table"));
    EXPECT_EQ(m_component.Enable(true), ERR_FEATURE_ABSENT);
    EXPECT_EQ(m_component.SetChannel(0, 0, kEntries, m_ramp.data()), ERR_FEATURE_ABSENT);
}

TEST_F(LutTest, SwitchAndActiveBankShareARegisterAndKeepEachOther) {
    EXPECT_EQ(m_component.Enable(true), ERR_OK);
    EXPECT_EQ(m_pHardware->Base(kBlock + 4), 0x80000001U);
    EXPECT_EQ(m_component.SetActiveBank(2), ERR_OK);
    EXPECT_EQ(m_pHardware->Base(kBlock + 4), 0x80000002U);
    EXPECT_EQ(m_component.Enable(false), ERR_OK);
    unsigned int bank = 0;
    EXPECT_EQ(m_component.GetActiveBank(&bank), ERR_OK);
    EXPECT_EQ(bank, 2U);
}

TEST_F(LutTest, TransfersAChannelInFewAccessesToItsOwnPlace) {
    m_pHardware->FailAccess(0);
    ASSERT_EQ(m_component.SetChannel(1, 1, kEntries, m_ramp.data()), ERR_OK);
    EXPECT_LE(m_pHardware->GetAccesses(), 4U + kEntries / 128);
    const unsigned int place = kBlock + 0x1000 + 4 * kEntries * 3;
    EXPECT_EQ(m_pHardware->Base(place - 4), 0U);
    EXPECT_EQ(m_pHardware->Base(place + 4 * 2), 1U);
    EXPECT_EQ(m_pHardware->Base(place + 4 * (kEntries - 1)), 255U);
    EXPECT_EQ(m_pHardware->Base(place + 4 * kEntries), 0U);
    std::vector<unsigned int> back(kEntries);
    ASSERT_EQ(m_component.GetChannel(1, 1, kEntries, back.data()), ERR_OK);
    EXPECT_EQ(back, m_ramp);
    ASSERT_EQ(m_component.GetChannel(1, 0, kEntries, back.data()), ERR_OK);
    EXPECT_NE(back, m_ramp);
}

TEST_F(LutTest, RefusesWithTheRange) {
    const FakeHardware::Memory before = m_pHardware->GetMemory();
    m_ramp[300] = 256;
    const struct {
        unsigned int bank, channel, numEntries;
        ErrorType error;
        const char* text;
    } rows[] = {{3, 0, kEntries, ERR_VALUE_OUT_OF_RANGE, "banks are 0 to 2"},
                {1, 2, kEntries, ERR_VALUE_OUT_OF_RANGE, "channels are 0 to 1"},
                {1, 0, kEntries - 1, ERR_VALUE_OUT_OF_RANGE, "exactly 512"},
                {1, 0, 0, ERR_VALUE_OUT_OF_RANGE, "exactly 512"},
                {0, 0, kEntries, ERR_ACCESS_DENIED, "Bank 0"},
                {1, 0, kEntries, ERR_VALUE_OUT_OF_RANGE, "Entry 300 of the look-up table is to be 256"}};
    ExpectRefusals(rows, [&](const auto& row) {
        return m_component.SetChannel(row.bank, row.channel, row.numEntries, m_ramp.data());
    });
    EXPECT_TRUE(SaysPart(m_component.GetChannel(2, 0, kEntries, m_ramp.data()), ERR_ACCESS_DENIED, "Bank 2"));
    EXPECT_EQ(m_component.SetActiveBank(3), ERR_VALUE_OUT_OF_RANGE);
    ExpectRefused({m_component.SetChannel(1, 0, kEntries, nullptr),
                   m_component.GetChannel(1, 0, kEntries, nullptr), m_component.QuerySupport(nullptr),
                   m_component.QueryBankStatus(0, nullptr, nullptr), m_component.GetActiveBank(nullptr)});
    EXPECT_EQ(m_pHardware->GetMemory(), before);
    SetBlock(kBlock, {{0, 0x80090832U}});
    EXPECT_TRUE(SaysPart(m_component.Enable(true), ERR_NOT_SUPPORTED, "switched on"));
}

TEST_F(LutTest, ATableThatCannotBeIsNotBelieved) {
    LUTData data;
    for (const unsigned int inquiry :
         {0x84FF0832U, 0x84000832U, 0x84092132U, 0x84090032U, 0x84090802U, 0x84090830U}) {
        SetBlock(kBlock, {{0, inquiry}});
        EXPECT_EQ(m_component.QuerySupport(&data), ERR_LUT_FAILED) << std::hex << inquiry;
        EXPECT_EQ(m_component.SetChannel(0, 0, kEntries, m_ramp.data()), ERR_LUT_FAILED);
    }
    SetBlock(kBlock, {{0, 0x84092032U}});
    m_ramp[0] = 0xFFFFFFFFU;
    EXPECT_EQ(m_component.SetChannel(1, 0, kEntries, m_ramp.data()), ERR_OK) << "32 bits take everything";
}

}  // namespace
}  // namespace Zevrin
