#include <gtest/gtest.h>

#include "SimulatedFixture.h"

namespace Zevrin {
namespace {

struct Step {
    char what;  // 'r' read and expect, 'w' write
    unsigned int offset;
    unsigned int value;
    const char* why;
};

// A mono camera of 1024 x 768 pixels, in this order.
const Step kSteps[] = {
    {'r', 0x100, 0xC1000000, "formats 0, 1 and 7"},
    {'r', 0x180, 0x06000000, "mono modes of format 0"},
    {'r', 0x184, 0x27000000, "mono modes of format 1 that fit the sensor"},
    {'w', 0x100, 0, "inquiry registers are read-only"},
    {'r', 0x100, 0xC1000000, "inquiry registers are read-only"},
    {'r', 0x200 + 4 * 5, 0xFF000000, "640 x 480 mono in every rate"},
    {'r', 0x200 + 32 + 4 * 7, 0xFE000000, "1024 x 768 with 16 bits, 240 frames/s are too many for the bus"},
    {'r', 0x400, 0xC0808000, "basic functions"},
    {'r', 0x610, 0x80000000, "powered up"},
    {'w', 0x600, 0xFFFFFFFF, "three bits stick"},
    {'r', 0x600, 0xE0000000, "three bits stick"},
    {'w', 0x600, 0x60000000, "15 frames/s"},
    {'w', 0x604, 0xA0000000, "mode 5"},
    {'w', 0x608, 0x00000000, "format 0"},
    {'r', 0x628, 0x00000000, "the combination is there"},
    {'w', 0x604, 0x80000000, "mode 4 is RGB, which a mono camera lacks"},
    {'r', 0x628, 0x80000000, "the combination is not there"},
    {'w', 0x614, 0x80000000, "transmission cannot be switched on then"},
    {'r', 0x614, 0x00000000, "transmission cannot be switched on then"},
    {'w', 0x604, 0xA0000000, "mode 5 again"},
    {'w', 0x614, 0xFFFFFFFF, "transmission on; one bit sticks"},
    {'r', 0x614, 0x80000000, "transmission on; one bit sticks"},
    {'w', 0x604, 0xC0000000, "the mode is locked while transmission is on"},
    {'r', 0x604, 0xA0000000, "the mode is locked while transmission is on"},
    {'w', 0x610, 0x00000000, "power off ends transmission"},
    {'r', 0x614, 0x00000000, "power off ends transmission"},
    {'w', 0x614, 0x80000000, "no transmission without power"},
    {'r', 0x614, 0x00000000, "no transmission without power"},
    {'w', 0x000, 0x80000000, "initialise"},
    {'r', 0x000, 0x00000000, "clears itself"},
    {'r', 0x610, 0x80000000, "factory settings"},
    {'r', 0x608, 0xE0000000, "factory settings: format 7"},
    {'w', 0x12F8, 0x800003FF, "the probe of embedded items"},
    {'w', 0x12F8, 0x00000000, "bit 31 stays"},
    {'r', 0x12F8, 0x80000000, "bit 31 stays"},
    {'r', 0x2E0, 0x003C2000, "format 7 block at 0x8000, in quadlets from the initial register space"},
    {'r', 0x8000, 1024U << 16 | 768, "largest image"},
    {'r', 0x800C, 1024U << 16 | 768, "the whole sensor"},
    {'r', 0x8014, 0x84000000, "mono with 8 and 16 bits"},
    {'w', 0x8008, 512U << 16 | 0, "region beyond the sensor"},
    {'r', 0x807C, 0x80800000, "region beyond the sensor"},
    {'w', 0x800C, 512U << 16 | 100, "a region"},
    {'r', 0x807C, 0x80000000, "a region"},
    {'r', 0x8034, 51200, "pixels"},
    {'r', 0x803C, 51200, "bytes with 8 bits"},
    {'w', 0x8010, 0x05000000, "16 bits"},
    {'r', 0x803C, 102400, "bytes with 16 bits"},
    {'r', 0x630, 0x10000000, "bits of a sample"},
    {'w', 0x8044, 10240U << 16, "packet size"},
    {'r', 0x8048, 10, "packets of a frame"},
    {'r', 0x8050, 0x3AA3D70A, "frame interval: 1.25 ms"},
    {'w', 0x8044, 10242U << 16, "packet size that is not a multiple of 4"},
    {'r', 0x807C, 0x80400000, "packet size that is not a multiple of 4"},
};

TEST(SimulatedRegisters, BehaveAsTheCameraDoes) {
    const auto pSimulation =
        MakeSimulation(R"({"clock": "manual", "cameras": [{"width": 1024, "height": 768}]})");
    const auto pCamera = OpenCamera(1001);
    for (const Step& step : kSteps) {
        if (step.what == 'w') {
            WriteCommand(*pCamera, step.offset, step.value);
        } else {
            EXPECT_EQ(ReadCommand(*pCamera, step.offset), step.value)
                << "0x" << std::hex << step.offset << ": " << step.why;
        }
    }
}

TEST(SimulatedRegisters, ExistWhereTheMapHasThem) {
    const auto pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{}]})");
    const auto pCamera = OpenCamera(1001);
    const struct {
        unsigned short high;
        unsigned int low;
        ErrorType expected;
    } table[] = {
        {0xFFFF, 0xF0F00000, ERR_OK},
        {0xFFFF, 0xF0000200, ERR_OK},
        {0xFFFF, 0xF0F00008, ERR_READ_REGISTER_FAILED},
        {0xFFFF, 0x00000000, ERR_READ_REGISTER_FAILED},
        {0xFFFF, 0xFFFFFFFC, ERR_READ_REGISTER_FAILED},
        {0x0000, 0xF0F00000, ERR_READ_REGISTER_FAILED},
    };
    for (const auto& row : table) {
        unsigned int value = 0;
        EXPECT_EQ(pCamera->ReadQuadlets(row.high, row.low, &value, 1).GetType(), row.expected)
            << std::hex << row.high << " " << row.low;
    }
}

TEST(SimulatedRegisters, ConfigurationRomLeadsToTheCommandRegisters) {
    const auto pSimulation =
        MakeSimulation(R"({"cameras": [{"serial": 4711, "vendor": "Vend", "model": "Mod"}]})");
    const auto pCamera = OpenCamera(4711);
    constexpr unsigned int kRom = 0xF0000400;
    const auto read = [&](unsigned int address) {
        unsigned int value = 0;
        EXPECT_TRUE(IsOk(pCamera->ReadQuadlets(kRegisterSpace, address, &value, 1)));
        return value;
    };
    const auto find = [&](unsigned int directory, unsigned int key) {
        for (unsigned int entry = 1; entry <= read(directory) >> 16; ++entry) {
            const unsigned int address = directory + 4 * entry;
            if (read(address) >> 24 == key) {
                return (key & 0x80) != 0 ? address + 4 * (read(address) & 0xFFFFFF)
                                         : read(address) & 0xFFFFFF;
            }
        }
        ADD_FAILURE() << "key " << key << " is missing";
        return 0U;
    };
    EXPECT_EQ(read(kRom + 4), 0x31333934U);
    EXPECT_EQ(read(kRom + 16), 4711U) << "the low half of the EUI-64";
    const unsigned int unit = find(kRom + 20, 0xD1);
    EXPECT_EQ(find(unit, 0x12), 0xA02DU);
    const unsigned int dependent = find(unit, 0xD4);
    EXPECT_EQ(0xF0000000 + 4 * find(dependent, 0x40), pCamera->GetRegisterBases().commandRegisters);
    EXPECT_EQ(read(find(dependent, 0x81) + 12), 0x56656E64U) << "Vend";
    EXPECT_EQ(read(find(dependent, 0x82) + 12), 0x4D6F6400U) << "Mod";
}

TEST(SimulatedRegisters, BroadcastReachesEveryCameraOfTheBus) {
    const auto pSimulation =
        MakeSimulation(R"({"clock": "manual", "buses": [{"cameras": [{}, {}]}, {"cameras": [{}]}]})");
    const auto pFirst = OpenCamera(1001);
    const unsigned int value = 0x20000000;
    ASSERT_TRUE(IsOk(pFirst->WriteQuadlets(kRegisterSpace, kCommandBase + 0x600, &value, 1, true)));
    EXPECT_EQ(ReadCommand(*pFirst, 0x600), value);
    EXPECT_EQ(ReadCommand(*OpenCamera(1002), 0x600), value);
    EXPECT_EQ(ReadCommand(*OpenCamera(1003), 0x600), 0x60000000U) << "another bus";
}

TEST(SimulatedRegisters, TellTheTimeOfTheBus) {
    const auto pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{}, {}]})");
    const auto pFirst = OpenCamera(1001);
    const auto pSecond = OpenCamera(1002);
    pSimulation->AdvanceClock(127 * kSecond + 1125);
    TimeStamp stamp;
    ASSERT_TRUE(IsOk(pSecond->GetBusTime(&stamp)));
    EXPECT_EQ(stamp.cycleSeconds, 127U);
    EXPECT_EQ(stamp.cycleCount, 9U);
    EXPECT_EQ(stamp.cycleOffset, 0U);
    EXPECT_GT(stamp.seconds, 1600000000);
    pSimulation->AdvanceClock(kSecond + 10);
    ASSERT_TRUE(IsOk(pFirst->GetBusTime(&stamp)));
    EXPECT_EQ(stamp.cycleSeconds, 0U) << "wraps after 128 s";
    EXPECT_EQ(stamp.cycleCount, 9U);
    EXPECT_EQ(stamp.cycleOffset, 245U);
    unsigned int word = 0;
    ASSERT_TRUE(IsOk(pFirst->ReadQuadlets(kRegisterSpace, 0xF0000200, &word, 1)));
    EXPECT_EQ(word, 9U << 12 | 245U);
}

}  // namespace
}  // namespace Zevrin
