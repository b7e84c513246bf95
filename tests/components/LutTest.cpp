#include "Lut.h"

#include "MemoryChannel.h"
#include "RegisterCamera.h"

namespace Zevrin {
namespace {

constexpr unsigned int kEntries = 512;

constexpr char kRegisters[] = R"(40C=8000000 490=3E0000
80000=84090832 # switchable, 9 bits to 8 bits, 3 banks of 2 channels
80004=1 80008=B0000000 # bank 1 is active; bank 0 can be read only, bank 1 both, bank 2 neither)";

class LutTest : public RegisterCamera<Lut> {
  protected:
    LutTest() : RegisterCamera(kRegisters), m_ramp(kEntries) {
        std::generate(m_ramp.begin(), m_ramp.end(), [next = 0U]() mutable { return next++ / 2; });
    }

    std::vector<unsigned int> m_ramp;
};

TEST_F(LutTest, TellsWhatIsThere) {
    LUTData data;
    ASSERT_EQ(m_component.QuerySupport(&data), ERR_OK);
    EXPECT_TRUE(data.supported && !data.enabled && data.numEntries == kEntries && data.outputBitDepth == 8);
    bool status[2] = {};
    ASSERT_EQ(m_component.QueryBankStatus(0, &status[0], &status[1]), ERR_OK);
    EXPECT_TRUE(status[0] && !status[1]);
    for (const char* inquiry : {"84FF0832", "84000832", "84092132", "84090032", "84090802", "84090830"}) {
        Have(std::string("80000=") + inquiry);
        EXPECT_EQ(m_component.QuerySupport(&data), ERR_LUT_FAILED) << "not believed: " << inquiry;
    }
    Have("40C=0");
    ASSERT_EQ(m_component.QuerySupport(&data), ERR_OK);
    EXPECT_FALSE(data.supported);
    unsigned int bank = 0;
    EXPECT_TRUE(SaysPart(m_component.GetActiveBank(&bank), ERR_FEATURE_ABSENT, "look-up table"));
}

TEST_F(LutTest, SwitchAndActiveBankShareARegisterAndKeepEachOther) {
    ExpectOutcomes<bool>({{"", true, ERR_OK, "80004=80000001"},
                          {"80004=80000002", false, ERR_OK, "80004=2"},
                          {"80000=80090832", true, ERR_NOT_SUPPORTED, "switched on"}},
                         [&](bool on) { return m_component.Enable(on); });
    ExpectOutcomes<unsigned int>({{"80004=80000001", 2, ERR_OK, "80004=80000002"},
                                  {"", 3, ERR_VALUE_OUT_OF_RANGE, "banks are 0 to 2"}},
                                 [&](unsigned int bank) { return m_component.SetActiveBank(bank); });
    unsigned int bank = 0;
    EXPECT_EQ(m_component.GetActiveBank(&bank), ERR_OK);
    EXPECT_EQ(bank, 1U);
}

TEST_F(LutTest, AChannelHasItsOwnPlace) {
    FakeHardware::Memory expected = m_pHardware->m_memory;
    for (unsigned int entry = 0; entry < kEntries; ++entry) {
        expected[FakeHardware::KeyOf(0x81000 + 4 * (3 * kEntries + entry))] = m_ramp[entry];
    }
    ASSERT_EQ(m_component.SetChannel(1, 1, kEntries, m_ramp.data()), ERR_OK);
    EXPECT_EQ(m_pHardware->m_memory, expected);
    std::vector<unsigned int> back(kEntries);
    ASSERT_EQ(m_component.GetChannel(1, 1, kEntries, back.data()), ERR_OK);
    EXPECT_EQ(back, m_ramp);
    Have("80000=84092032");
    m_ramp[0] = 0xFFFFFFFFU;
    EXPECT_EQ(m_component.SetChannel(1, 0, kEntries, m_ramp.data()), ERR_OK) << "32 bits take everything";
}

TEST_F(LutTest, RefusesWithTheRange) {
    struct Place {
        unsigned int bank, channel, numEntries;
    };
    m_ramp[300] = 256;
    ExpectOutcomes<Place>(
        {{"", {3, 0, kEntries}, ERR_VALUE_OUT_OF_RANGE, "banks are 0 to 2"},
         {"", {1, 2, kEntries}, ERR_VALUE_OUT_OF_RANGE, "channels are 0 to 1"},
         {"", {1, 0, kEntries - 1}, ERR_VALUE_OUT_OF_RANGE, "exactly 512"},
         {"", {0, 0, kEntries}, ERR_ACCESS_DENIED, "Bank 0"},
         {"", {1, 0, kEntries}, ERR_VALUE_OUT_OF_RANGE, "Entry 300 of the look-up table is to be 256"}},
        [&](const Place& place) {
            return m_component.SetChannel(place.bank, place.channel, place.numEntries, m_ramp.data());
        });
    EXPECT_TRUE(SaysPart(m_component.GetChannel(2, 0, kEntries, m_ramp.data()), ERR_ACCESS_DENIED, "Bank 2"));
    ExpectRefused({m_component.SetChannel(1, 0, kEntries, nullptr),
                   m_component.GetChannel(1, 0, kEntries, nullptr), m_component.QuerySupport(nullptr),
                   m_component.QueryBankStatus(0, nullptr, nullptr), m_component.GetActiveBank(nullptr)});
}

class MemoryChannelTest : public RegisterCamera<MemoryChannel> {
  protected:
    MemoryChannelTest() : RegisterCamera("400=2 618=0 620=0 624=10000000") {
        m_pHardware->m_onWrite = [](unsigned int low, unsigned int value) {
            // Only the first bit says that saving is not done.
            return low == 0xF0F00618U && value == 0x80000000U ? 1 : value;
        };
    }
};

TEST_F(MemoryChannelTest, SavesAndRestoresWithinTheRange) {
    unsigned int channel = 0;
    EXPECT_EQ(m_component.GetMemoryChannelInfo(&channel), ERR_OK);
    EXPECT_EQ(channel, 2U);
    EXPECT_EQ(m_component.GetMemoryChannel(&channel), ERR_OK);
    EXPECT_EQ(channel, 1U);
    ExpectOutcomes<unsigned int>(
        {{"", 2, ERR_OK, "620=20000000 618=1"},
         {"", 0, ERR_VALUE_OUT_OF_RANGE, "1 to 2 (0 holds the factory's)"},
         {"", 3, ERR_VALUE_OUT_OF_RANGE, "1 to 2"},
         {"400=FFFFFFF0", 1, ERR_FEATURE_ABSENT, "no memory channel to save to"}},
        [&](unsigned int number) { return m_component.SaveToMemoryChannel(number); });
    ExpectOutcomes<unsigned int>(
        {{"", 2, ERR_OK, "624=20000000"},
         {"", 3, ERR_VALUE_OUT_OF_RANGE, "to 2"},
         {"400=FFFFFFF0", 0, ERR_OK, "624=0"}},  // the factory's are always there
        [&](unsigned int number) { return m_component.RestoreFromMemoryChannel(number); });
    ExpectRefused({m_component.GetMemoryChannel(nullptr), m_component.GetMemoryChannelInfo(nullptr)});
}

}  // namespace
}  // namespace Zevrin
