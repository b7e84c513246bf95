#include "SimulatedFixture.h"

namespace Zevrin {
namespace {

TEST(SimulatedRegisters, ConfigurationRomLeadsToTheCommandRegisters) {
    const auto pSimulation =
        MakeSimulation(R"({"cameras": [{"serial": 4711, "vendor": "Vend", "model": "Mod"}]})");
    const auto pCamera = OpenCamera(4711);
    const auto read = [&](unsigned int address) { return ReadCommand(*pCamera, address - kCommandBase); };
    const auto find = [&](unsigned int directory, unsigned int key) {
        for (unsigned int entry = 1; entry <= read(directory) >> 16; ++entry) {
            const unsigned int address = directory + 4 * entry;
            const unsigned int value = read(address) & 0xFFFFFF;
            if (read(address) >> 24 == key) {
                return (key & 0x80) != 0 ? address + 4 * value : value;
            }
        }
        ADD_FAILURE() << "key " << key << " is missing";
        return 0U;
    };
    constexpr unsigned int kRom = 0xF0000400;
    EXPECT_EQ(read(kRom + 4), 0x31333934U);
    EXPECT_EQ(read(kRom + 16), 4711U) << "the low half of the EUI-64";
    const unsigned int unit = find(kRom + 20, 0xD1);
    EXPECT_EQ(find(unit, 0x12), 0xA02DU);
    const unsigned int dependent = find(unit, 0xD4);
    EXPECT_EQ(0xF0000000 + 4 * find(dependent, 0x40), pCamera->GetRegisterBases().commandRegisters);
    EXPECT_EQ(read(find(dependent, 0x81) + 12), 0x56656E64U) << "Vend";
    EXPECT_EQ(read(find(dependent, 0x82) + 12), 0x4D6F6400U) << "Mod";
}

TEST(SimulatedRegisters, BelongToABus) {
    const auto pSimulation =
        MakeSimulation(R"({"clock": "manual", "buses": [{"cameras": [{}, {}]}, {"cameras": [{}]}]})");
    const auto pFirst = OpenCamera(1001);
    const auto pSecond = OpenCamera(1002);
    const unsigned int value = 0x20000000;
    ASSERT_TRUE(IsOk(pFirst->WriteQuadlets(kRegisterSpace, kCommandBase + 0x600, &value, 1, true)));
    EXPECT_EQ(ReadCommand(*pFirst, 0x600), value);
    EXPECT_EQ(ReadCommand(*pSecond, 0x600), value) << "a broadcast reaches every camera of the bus";
    EXPECT_EQ(ReadCommand(*OpenCamera(1003), 0x600), 0x60000000U) << "another bus";

    pSimulation->AdvanceClock(127 * kSecond + 1125);
    EXPECT_EQ(ReadBusTicks(*pSecond), (127 * 8000 + 9) * 3072U);
    pSimulation->AdvanceClock(kSecond + 10);
    EXPECT_EQ(ReadBusTicks(*pFirst), 9 * 3072U + 245) << "wraps after 128 s";
    EXPECT_EQ(ReadCommand(*pFirst, 0xF0000200 - kCommandBase), 9U << 12 | 245U);
    TimeStamp stamp;
    ASSERT_TRUE(IsOk(pFirst->GetBusTime(&stamp)));
    EXPECT_GT(stamp.seconds, 1600000000);

    for (int count = 0; count < 20; ++count) {
        pSimulation->AdvanceClock(~0ULL);
    }
    const unsigned int end = ReadBusTicks(*pFirst);
    pSimulation->AdvanceClock(kSecond);
    EXPECT_EQ(ReadBusTicks(*pFirst), end) << "a clock that is set by hand ends instead of wrapping";
}

}  // namespace
}  // namespace Zevrin
