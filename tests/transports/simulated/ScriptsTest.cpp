#include "ScriptedCamera.h"

namespace Zevrin {
namespace {

constexpr auto kTriggered = R"("interface": "u3v", "width": 640, "height": 512)";

struct Script {
    const char* what;
    const char* keys;  ///< of the camera
    const char* steps;
};

const Script kScripts[] = {
    {"ConfigurationRomLeadsToTheCommandRegisters", R"("vendor": "Vend", "model": "Mod")", R"(
FF100400=404AEA3 FF100404=31333934 FF100410=3E9 # at 0xF0000400, with checksums; "1394"; the serial number
FF100414=35E98 FF100420=D1000001 # the root directory; the next quadlet begins that of the unit
FF100424=4B24E FF100428=1200A02D FF100430=D4000002 # the specifier is IIDC's; what depends on the unit
FF100438=37F89 FF10043C=403C0000 # 0xF0F00000, in quadlets from the initial register space
FF100440=81000002 FF100448=4CE73 FF100454=56656E64 # "Vend"
FF100444=82000006 FF10045C=327AE FF100468=4D6F6400 # "Mod"
)"},
    {"RegistersBehaveAsTheCameraDoes", R"("width": 1024, "height": 768)", R"(
100=C1000000 180=6000000 # formats 0, 1 and 7; mono modes of format 0
184=27000000 # mono modes of format 1 that fit the sensor
100<0 100=C1000000 # inquiry registers are read-only
23C=FE000000 # 1024 x 768 with 16 bits, 240 frames/s are too many for the bus
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
5204<FFFFFFFF 5204=83FFFFFF # strobe: all there is to set
11F8<FFFFFFFF 11F8=F0000000 # four pins have a direction
820<82000064 620<0 620=10000000 # gain 10 dB; the factory's channel cannot be saved to
620<20000000 618<80000000 618=0 # channel 2; save; clears itself
624<0 820=82000000 11004=1 # factory settings
624<40000000 624=0 # channel 4 is not there
624<20000000 820=82000064 11004=3FF # channel 2; what was saved
614=0 # transmission is no setting
12FC<7 12FC=7 # a counter
12E0<7 12E0=0 # is only read
1A50=80003000 1A54=840 2100=40533333 # three measurements; at 0x2100; 3.3 V
1A58=80002000 # two measurements
1040<F 1040=0 # a test pattern that is not there
+3600000000 82C=82000C70 12E0=E10 # an hour later it is 45 degrees Celsius warm
8! F100000! F0FFFFC! # there is nothing there
)"},
    {"AccessesFailAsToldTo", "", R"(
faults:{"registers":{"accesses":[2,4]}} 600=60000000 600!0 600=60000000 600! 600=60000000
faults:{"registers":{"addresses":["0x604"]}} 604! 604!0 604! 608=E0000000
)"},
    {"FramesFlowWhileTransmissionIsOn", R"("frameRate": 25)", R"(
+1000000 frames:0
614<80000000 +1004999 frames:24 +1 frames:1 # 5 ms of exposure
+200000000 count:5025 # across the wrap of the clock
614<0 +1000000 frames:0
)"},
    {"FramesThatAreDelayedDoNotOutliveTheSwitchingOff", R"("frameRate": 100)", R"(
faults:{"delay":{"share":1},"delayUs":30000} 614<80000000 +100000 614<0 +100000 frames:6 count:9 # three are lost
)"},
    {"FramesFollowTheStandardsRatesAndTheFeature", "", R"(
30F8<42200000 83C<C2000000 81C<820000FA 614<80000000 +10000100 614<0 count:400 # absolute 40
83C<82000065 614<80000000 +10000100 614<0 count:252 # raw 101 is 25.25
83C<80000000 81C<820003E8 614<80000000 +10000100 614<0 count:500 # off: as fast as the shutter of 20 ms
83C<82000FA0 81C<82000001 614<80000000 +10000100 614<0 count:8000 # 1000 is more than 10 packets allow
83C<820000C8 81C<82000FFF 614<80000000 +10000100 614<0 count:500 # a long shutter is cut short
83C<82000001 614<80000000 +1000000 83C<820000C8 +1000000 614<0 count:49 # from 0.25 to 50 at once
81C<820000FA 604<A0000000 608<0 # 640 x 480 mono, at the standard's rates
600<0 614<80000000 +8005000 614<0 count:15
600<60000000 614<80000000 +8005000 614<0 count:120
600<E0000000 614<80000000 +8005000 614<0 count:1920
)"},
    {"ItemsThatTheCameraLacksCannotBeEmbedded", R"("embeddedItems": 511)", "12F8<800003FF 12F8=800001FF"},
    {"MemorySurvivesALossOfPower", "", R"(
820<82000064 620<30000000 618<80000000 unplug replug 820=82000000 624<30000000 820=82000064
)"},
    {"TriggerExposesOncePerEdgeAndRefusesWhatComesTooEarly", kTriggered, R"(
830<83400000 614<80000000 # mode 0, active high, source 2; transmission on
+1000000 frames:0 # waits
pulse:1:100 +1000000 frames:0 # another source
pulse:2:100 +5500 # at 2 s
pulse:2:100 +1000 # exposed, and still read out: 10 packets take 1.25 ms
pulse:2:100 +1000000
Trigger:1@2000000 ExposureStart:1@2000000 ExposureEnd:1@2005000 FrameStart:1@2005000 Overrun:1@2005500
Trigger:2@2006500 ExposureStart:2@2006500 ExposureEnd:2@2011500 FrameStart:2@2011500 none frames:2
614<0 pulse:2:100 +1000000 none # transmission is off
)"},
    {"TriggerOfModeFourteenOverlapsReadOut", kTriggered, R"(
830<830E0000 614<80000000
pulse:0:10 +4999 pulse:0:10 +1 last:FrameStart:1@5000
+10 pulse:0:10 Trigger:2@5010 ExposureStart:2@5010 none
)"},
    {"TriggerIsDelayed", kTriggered, R"(
834<82000064 830<83000000 614<80000000 # 2 ms
pulse:0:10 +1000 pulse:0:10 +1000000
Trigger:1@0 Overrun:1@1000 ExposureStart:1@2000 ExposureEnd:1@7000 FrameStart:1@7000 none
)"},
    {"TriggerOfModeOneExposesForAsLongAsItIsActive", kTriggered, R"(
830<82610000 614<80000000 # active low, source 3
pin:3:1 +1000 830=82710000 # the level can be read
pin:3:0 +2500 pin:3:1 +1000000
Trigger:1@1000 ExposureStart:1@1000 ExposureEnd:1@3500 FrameStart:1@3500 none
frames:1 pixel:7 # half of what 5 ms make
830<83E10000 62C<80000000 62C=80000000 # source 7, the software trigger, which lasts
+7000 62C<0 +0 last:FrameStart:2@1010500
)"},
    {"TriggerOfModeFifteenTakesManyFrames", kTriggered, R"(
830<83EF0004 614<80000000 # four frames
62C<80000000 +100000 62C<80000000 +1000000 frames:4
Trigger:1@0 ExposureStart:1@0 ExposureEnd:1@5000 FrameStart:1@5000 ExposureStart:2@66666 # at the frame rate
ExposureEnd:2@71666 FrameStart:2@71666 Overrun:1@100000 last:FrameStart:4@204999
62C<80000000 +1000000 frames:4
)"},
    {"TriggerSwitchedOffLetsFramesFlowAgain", kTriggered, R"(
830<83000000 614<80000000 +1000000 frames:0
830<80000000 +1000000 frames:14 # the fifteenth is being exposed
pulse:0:10 830<83000000 +1000000 frames:0 # waits again
)"},
    {"ShotsNeedNoTransmission", kTriggered, R"(
61C<80000000 61C=80000000 +1000000 frames:1 61C=0 # until they are done
61C<40000007 61C=40000007 +1000000 frames:7 61C=0
61C<40000000 61C=0 +1000000 frames:0
61C<80000000 61C=80000000 +1000000 frames:1 61C=0
61C<40000007 +200000 61C=40000005 # what is still to come
61C<0 +1000000 frames:2 # stopped
61C<40000007 +100000 forget 614<80000000 +66667 ExposureStart:14@5366666 none # transmission begins anew
)"},
    {"PinsFollowTheOutsideAtAllTimes", kTriggered, R"(
pulse:2:100 +50 pulse:2:100 +60 level:2:1 # the second pulse lasts
+40 level:2:0
unplug pin:2:1 replug level:2:1 # changed while the camera was away
)"},
    {"StrobesFollowTheExposure", kTriggered, R"(
11F8<C0000000 5200<82000000 5204<830C8064 # pins 0, active low, as long as the exposure; 1, for 1 ms after 2 ms
830<83E00000 614<80000000 +1000 6004=80000000 # at rest
62C<80000000 6004=0 +1000 6004=0 +1000 6004=40000000 +1000 6004=0 +1000 6004=0 +1000 6004=80000000
5200<80000000 6000<80000000 level:0:1 # without a strobe, what was written
pin:1:1 6004=80000000 # an output is not driven from outside
)"},
};

class SimulatedScripts : public testing::TestWithParam<Script> {};

TEST_P(SimulatedScripts, FollowsItsScript) {
    ScriptedCamera(GetParam().keys).Follow(GetParam().steps);
}

INSTANTIATE_TEST_SUITE_P(Table, SimulatedScripts, testing::ValuesIn(kScripts),
                         [](const auto& row) { return std::string(row.param.what); });

TEST(SimulatedEvents, HaveOneSinkThatOutlastsTheCamera) {
    ScriptedCamera camera(kTriggered);
    struct : EventSink {
        void OnDeviceEvent(const RawDeviceEvent&) override {}
    } other;
    EXPECT_EQ(camera.m_pCamera->SetEventSink(&other).GetType(), ERR_EVENT_FAILED);
    const auto pPlain = MakeSimulation(R"({"cameras": [{"serial": 12}]})");
    EXPECT_EQ(OpenCamera(12)->SetEventSink(&other).GetType(), ERR_NOT_SUPPORTED)
        << "no events on this interface";
    camera.Follow("+10");
    EXPECT_TRUE(IsOk(camera.m_pSimulation->ResetBus(1001)));
    camera.Follow("unplug replug LinkChange:1@10 LinkChange:0@10 LinkChange:1@10 none");

    bool isHigh = false;
    EXPECT_EQ(camera.m_pSimulation->GetPin(1001, 4, &isHigh).GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(camera.m_pSimulation->PulseInput(1001, 0, 0).GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(camera.m_pSimulation->SetInput(5, 0, true).GetType(), ERR_CAMERA_NOT_FOUND);
}

TEST(SimulatedFaults, StayWhenNewOnesAreRefusedAndCutARunOfWrites) {
    ScriptedCamera camera;
    camera.Follow(R"(faults:{"registers":{"addresses":["0x604"]}})");
    EXPECT_EQ(camera.m_pSimulation->SetFaults(1001, R"({"drop": {"share": 2}})"), ERR_INVALID_DESCRIPTION);
    EXPECT_EQ(camera.m_pSimulation->SetFaults(5, "{}"), ERR_CAMERA_NOT_FOUND);
    const unsigned int run[] = {0x20000000, 0x20000000, 0};
    EXPECT_EQ(camera.m_pCamera->WriteQuadlets(kRegisterSpace, kCommandBase + 0x600, run, 3, false),
              ERR_WRITE_REGISTER_FAILED);
    camera.Follow("600=20000000 608=E0000000");  // what was written before the failure stays
    unsigned int errors = 0;
    ASSERT_TRUE(IsOk(camera.m_pCamera->GetPortErrors(&errors)));
    EXPECT_EQ(errors, 1U);
}

}  // namespace
}  // namespace Zevrin
