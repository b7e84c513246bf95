#include "ScriptedCamera.h"

namespace Zevrin {
namespace {

// What is written (<) to registers of a mono camera of 1024 x 768 pixels and read (=) from them, in this
// order.
constexpr const char* kSteps = R"(
100=C1000000 180=6000000 # formats 0, 1 and 7; mono modes of format 0
184=27000000 # mono modes of format 1 that fit the sensor
100<0 100=C1000000 # inquiry registers are read-only
214=FF000000 # 640 x 480 mono in every rate
23C=FE000000 # 1024 x 768 with 16 bits, 240 frames/s are too many for the bus
400=D0809803 610=80000000 # basic functions; powered up
600<FFFFFFFF 600=E0000000 # three bits stick
600<60000000 604<A0000000 608<0 628=0 # 15 frames/s; mode 5; format 0; the combination is there
604<80000000 628=80000000 # mode 4 is RGB, which a mono camera lacks; the combination is not there
614<80000000 614=0 # transmission cannot be switched on then
604<A0000000 614<FFFFFFFF 614=80000000 # mode 5 again; transmission on; one bit sticks
60C<FFFFFFFF 60C=F300BF07 # channels and speeds
604<C0000000 604=A0000000 # the mode is locked while transmission is on
610<0 614=0 # power off ends transmission
614<80000000 614=0 # no transmission without power
0<80000000 0=0 # initialise; clears itself
610=80000000 608=E0000000 # factory settings; factory settings: format 7
12F8<800003FF 12F8<0 12F8=80000000 # the probe of embedded items; bit 31 stays
2E0=3C2000 # format 7 block at 0x8000, in quadlets from the initial register space
8000=4000300 800C=4000300 8014=84000000 # largest image; the whole sensor; mono with 8 and 16 bits
8008<2000000 807C=80800000 # region beyond the sensor
800C<2000064 807C=80000000 # a region
614<80000000 8008<2000001 8008=2000000 # transmission on; an odd row would turn the mosaic round
8008<1FC0002 8008=1FC0002 # the region moves
614<0 8034=C800 # transmission off; pixels
803C=C800 # bytes with 8 bits
8010<5000000 803C=19000 # 16 bits; bytes with 16 bits
630=10000000 # bits of a sample
8044<28000000 8048=A # packet size; packets of a frame
8050=3AA3D70A # frame interval: 1.25 ms
8044<28020000 807C=80400000 # packet size that is not a multiple of 4
0<80000000 404=E39D0000 # factory settings again; a mono camera lacks white balance, hue and saturation
408=0 40C=58000000 # no zoom and its like; pins, strobes, look-up table
50C=0 80C=0 # an absent feature
51C=DB001FFF # shutter: absolute, one push, read out, auto, manual; 1 to 4095
81C=820000FA 71C=3C0C1C # shutter: 250; absolute values of the shutter, at 0x3070
3070=37A7C5AC 3078=3BA3D70A # 20 us; 5 ms
81C<820001F4 3078=3C23D70A # shutter: 500; the absolute value follows: 10 ms
81C<82000000 81C=820001F4 # 0 is out of range
3078<3CA3D70A 81C=820001F4 # 20 ms, before absolute control is on; the raw value still rules
81C<C20001F4 81C=C20003E8 # absolute control on; 20 ms are 1000
81C<C2000001 81C=C20003E8 # the raw value does not rule now
3078<3F800000 3078=3CA3D70A # 1 s is out of range
3078<7FC00000 3078=3CA3D70A # not a number
3078<3DA7BB30 81C=C2000FFF # 81.9 ms, the longest
81C<83000001 81C=830000FA # auto; the camera chooses 5 ms
3078<3CA3D70A 3078=3BA3D70A # nobody else chooses then
820<82000078 81C<86000001 81C=8200003F # gain 12 dB; one push; done at once, and shorter by 12 dB
82C=82000BA6 # temperature: 298.2 K
82C<FFFFFFFF 82C=82000BA6 # is only read
83C=C200003C # frame rate: 15 frames/s, absolute
530=8FF1C003 # trigger: modes 0, 1, 14, 15, sources 0 to 3 and software
830<82520005 830=82400005 # source 2, mode 2 which is not there; source 2, mode 0
830<82AE0000 830=824E0000 # source 5 which is not there, mode 14; source 2, mode 14
62C<80000000 62C=0 # software trigger; clears itself
490=3C4000 10000=840A0A31 # look-up table; 10 bits, three banks, one channel
10008=F8000000 # bank 2 is only read
10004<80000003 10004=80000000 # bank 3 is not there
11004<FFFFFFFF 11004=3FF # an entry has 10 bits
11008=2 # linear
13000<0 13000=3FF # bank 2 is only read; bank 2 inverts
48C=3C1400 5000=F0000000 # strobes; four of them
5204<FFFFFFFF 5204=83FFFFFF # all there is to set
11F8<FFFFFFFF 11F8=F0000000 # four pins have a direction
820<82000064 620<0 620=10000000 # gain 10 dB; the factory's channel cannot be saved to
620<20000000 618<80000000 618=0 # channel 2; save; clears itself
624<0 820=82000000 11004=1 # factory settings
624<40000000 624=0 # channel 4 is not there
624<20000000 820=82000064 11004=3FF # channel 2; what was saved
614=0 # transmission is no setting
12FC<7 12FC=7 # a counter
12E0=0 # seconds since power-up
12E0<7 12E0=0 # is only read
1A50=80003000 1A54=840 2100=40533333 # three measurements; at 0x2100; 3.3 V
1A58=80002000 # two measurements
1040<F 1040=0 # a test pattern that is not there
)";

TEST(SimulatedRegisters, BehaveAsTheCameraDoes) {
    ScriptedCamera(R"({"clock": "manual", "cameras": [{"width": 1024, "height": 768}]})").Follow(kSteps);
}

TEST(SimulatedRegisters, ExistWhereTheMapHasThem) {
    const auto pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{}]})");
    const auto pCamera = OpenCamera(1001);
    const auto exists = [&](unsigned short high, unsigned int low) {
        unsigned int value = 0;
        const Error error = pCamera->ReadQuadlets(high, low, &value, 1);
        EXPECT_TRUE(error == ERR_OK || error == ERR_READ_REGISTER_FAILED);
        return error == ERR_OK;
    };
    EXPECT_TRUE(exists(0xFFFF, 0xF0F00000) && exists(0xFFFF, 0xF0000200));
    EXPECT_FALSE(exists(0xFFFF, 0xF0F00008) || exists(0xFFFF, 0) || exists(0xFFFF, 0xFFFFFFFC));
    EXPECT_FALSE(exists(0x0000, 0xF0F00000)) << "the device's own memory";
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
    EXPECT_EQ(ReadBusTicks(*pSecond), (127 * 8000 + 9) * 3072U);
    pSimulation->AdvanceClock(kSecond + 10);
    EXPECT_EQ(ReadBusTicks(*pFirst), 9 * 3072U + 245) << "wraps after 128 s";
    unsigned int word = 0;
    ASSERT_TRUE(IsOk(pFirst->ReadQuadlets(kRegisterSpace, 0xF0000200, &word, 1)));
    EXPECT_EQ(word, 9U << 12 | 245U);
    TimeStamp stamp;
    ASSERT_TRUE(IsOk(pFirst->GetBusTime(&stamp)));
    EXPECT_GT(stamp.seconds, 1600000000);
}

}  // namespace
}  // namespace Zevrin
