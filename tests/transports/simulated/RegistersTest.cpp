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
    {'r', 0x400, 0xD0809803, "basic functions"},
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
    {'w', 0x60C, 0xFFFFFFFF, "channels and speeds"},
    {'r', 0x60C, 0xF300BF07, "channels and speeds"},
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
    {'w', 0x614, 0x80000000, "transmission on"},
    {'w', 0x8008, 512U << 16 | 1, "an odd row would turn the mosaic round"},
    {'r', 0x8008, 512U << 16 | 0, "an odd row would turn the mosaic round"},
    {'w', 0x8008, 508U << 16 | 2, "the region moves"},
    {'r', 0x8008, 508U << 16 | 2, "the region moves"},
    {'w', 0x614, 0x00000000, "transmission off"},
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
    // Features.
    {'w', 0x000, 0x80000000, "factory settings again"},
    {'r', 0x404, 0xE39D0000, "a mono camera lacks white balance, hue and saturation"},
    {'r', 0x408, 0x00000000, "no zoom and its like"},
    {'r', 0x40C, 0x58000000, "pins, strobes, look-up table"},
    {'r', 0x50C, 0x00000000, "an absent feature"},
    {'r', 0x80C, 0x00000000, "an absent feature"},
    {'r', 0x51C, 0xDB001FFF, "shutter: absolute, one push, read out, auto, manual; 1 to 4095"},
    {'r', 0x81C, 0x820000FA, "shutter: 250"},
    {'r', 0x71C, 0x003C0C1C, "absolute values of the shutter, at 0x3070"},
    {'r', 0x3070, 0x37A7C5AC, "20 us"},
    {'r', 0x3078, 0x3BA3D70A, "5 ms"},
    {'w', 0x81C, 0x820001F4, "shutter: 500"},
    {'r', 0x3078, 0x3C23D70A, "the absolute value follows: 10 ms"},
    {'w', 0x81C, 0x82000000, "0 is out of range"},
    {'r', 0x81C, 0x820001F4, "0 is out of range"},
    {'w', 0x3078, 0x3CA3D70A, "20 ms, before absolute control is on"},
    {'r', 0x81C, 0x820001F4, "the raw value still rules"},
    {'w', 0x81C, 0xC20001F4, "absolute control on"},
    {'r', 0x81C, 0xC20003E8, "20 ms are 1000"},
    {'w', 0x81C, 0xC2000001, "the raw value does not rule now"},
    {'r', 0x81C, 0xC20003E8, "the raw value does not rule now"},
    {'w', 0x3078, 0x3F800000, "1 s is out of range"},
    {'r', 0x3078, 0x3CA3D70A, "1 s is out of range"},
    {'w', 0x3078, 0x7FC00000, "not a number"},
    {'r', 0x3078, 0x3CA3D70A, "not a number"},
    {'w', 0x3078, 0x3DA7BB30, "81.9 ms, the longest"},
    {'r', 0x81C, 0xC2000FFF, "81.9 ms, the longest"},
    {'w', 0x81C, 0x83000001, "auto"},
    {'r', 0x81C, 0x830000FA, "the camera chooses 5 ms"},
    {'w', 0x3078, 0x3CA3D70A, "nobody else chooses then"},
    {'r', 0x3078, 0x3BA3D70A, "nobody else chooses then"},
    {'w', 0x820, 0x82000078, "gain 12 dB"},
    {'w', 0x81C, 0x86000001, "one push"},
    {'r', 0x81C, 0x8200003F, "done at once, and shorter by 12 dB"},
    {'r', 0x82C, 0x82000BA6, "temperature: 298.2 K"},
    {'w', 0x82C, 0xFFFFFFFF, "is only read"},
    {'r', 0x82C, 0x82000BA6, "is only read"},
    {'r', 0x83C, 0xC200003C, "frame rate: 15 frames/s, absolute"},
    // Trigger.
    {'r', 0x530, 0x8FF1C003, "trigger: modes 0, 1, 14, 15, sources 0 to 3 and software"},
    {'w', 0x830, 0x82520005, "source 2, mode 2 which is not there"},
    {'r', 0x830, 0x82400005, "source 2, mode 0"},
    {'w', 0x830, 0x82AE0000, "source 5 which is not there, mode 14"},
    {'r', 0x830, 0x824E0000, "source 2, mode 14"},
    {'w', 0x62C, 0x80000000, "software trigger"},
    {'r', 0x62C, 0x00000000, "clears itself"},
    // Look-up table at 0x10000, strobes at 0x5000, pins.
    {'r', 0x490, 0x003C4000, "look-up table"},
    {'r', 0x10000, 0x840A0A31, "10 bits, three banks, one channel"},
    {'r', 0x10008, 0xF8000000, "bank 2 is only read"},
    {'w', 0x10004, 0x80000003, "bank 3 is not there"},
    {'r', 0x10004, 0x80000000, "bank 3 is not there"},
    {'w', 0x11004, 0xFFFFFFFF, "an entry has 10 bits"},
    {'r', 0x11004, 0x000003FF, "an entry has 10 bits"},
    {'r', 0x11008, 0x00000002, "linear"},
    {'w', 0x13000, 0x00000000, "bank 2 is only read"},
    {'r', 0x13000, 0x000003FF, "bank 2 inverts"},
    {'r', 0x48C, 0x003C1400, "strobes"},
    {'r', 0x5000, 0xF0000000, "four of them"},
    {'w', 0x5204, 0xFFFFFFFF, "all there is to set"},
    {'r', 0x5204, 0x83FFFFFF, "all there is to set"},
    {'w', 0x11F8, 0xFFFFFFFF, "four pins have a direction"},
    {'r', 0x11F8, 0xF0000000, "four pins have a direction"},
    // Memory channels.
    {'w', 0x820, 0x82000064, "gain 10 dB"},
    {'w', 0x620, 0x00000000, "the factory's channel cannot be saved to"},
    {'r', 0x620, 0x10000000, "the factory's channel cannot be saved to"},
    {'w', 0x620, 0x20000000, "channel 2"},
    {'w', 0x618, 0x80000000, "save"},
    {'r', 0x618, 0x00000000, "clears itself"},
    {'w', 0x624, 0x00000000, "factory settings"},
    {'r', 0x820, 0x82000000, "factory settings"},
    {'r', 0x11004, 0x00000001, "factory settings"},
    {'w', 0x624, 0x40000000, "channel 4 is not there"},
    {'r', 0x624, 0x00000000, "channel 4 is not there"},
    {'w', 0x624, 0x20000000, "channel 2"},
    {'r', 0x820, 0x82000064, "what was saved"},
    {'r', 0x11004, 0x000003FF, "what was saved"},
    {'r', 0x614, 0x00000000, "transmission is no setting"},
    // What the standard leaves to the camera.
    {'w', 0x12FC, 0x00000007, "a counter"},
    {'r', 0x12FC, 0x00000007, "a counter"},
    {'r', 0x12E0, 0x00000000, "seconds since power-up"},
    {'w', 0x12E0, 0x00000007, "is only read"},
    {'r', 0x12E0, 0x00000000, "is only read"},
    {'r', 0x1A50, 0x80003000, "three measurements"},
    {'r', 0x1A54, 0x00000840, "at 0x2100"},
    {'r', 0x2100, 0x40533333, "3.3 V"},
    {'r', 0x1A58, 0x80002000, "two measurements"},
    {'w', 0x1040, 0x0000000F, "a test pattern that is not there"},
    {'r', 0x1040, 0x00000000, "a test pattern that is not there"},
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
