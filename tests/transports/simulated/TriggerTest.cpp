#include "ScriptedCamera.h"

namespace Zevrin {
namespace {

constexpr auto kCamera =
    R"({"clock": "manual", "cameras": [{"interface": "u3v", "width": 640, "height": 512}]})";

struct Script {
    const char* what;
    const char* steps;
};

const Script kScripts[] = {
    {"ExposesOncePerEdgeAndRefusesWhatComesTooEarly", R"(
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
    {"OfModeFourteenOverlapsReadOut", R"(
830<830E0000 614<80000000
pulse:0:10 +4999 pulse:0:10 +1 last:FrameStart:1@5000
+10 pulse:0:10 Trigger:2@5010 ExposureStart:2@5010 none
)"},
    {"IsDelayed", R"(
834<82000064 830<83000000 614<80000000 # 2 ms
pulse:0:10 +1000 pulse:0:10 +1000000
Trigger:1@0 Overrun:1@1000 ExposureStart:1@2000 ExposureEnd:1@7000 FrameStart:1@7000 none
)"},
    {"OfModeOneExposesForAsLongAsItIsActive", R"(
830<82610000 614<80000000 # active low, source 3
pin:3:1 +1000 830=82710000 # the level can be read
pin:3:0 +2500 pin:3:1 +1000000
Trigger:1@1000 ExposureStart:1@1000 ExposureEnd:1@3500 FrameStart:1@3500 none
frames:1 pixel:7 # half of what 5 ms make
830<83E10000 62C<80000000 62C=80000000 # source 7, the software trigger, which lasts
+7000 62C<0 +0 last:FrameStart:2@1010500
)"},
    {"OfModeFifteenTakesManyFrames", R"(
830<83EF0004 614<80000000 # four frames
62C<80000000 +100000 62C<80000000 +1000000 frames:4
has:ExposureStart:2@66666 has:Overrun:1@100000 last:FrameStart:4@204999 # at the frame rate
62C<80000000 +1000000 frames:4
)"},
    {"SwitchedOffLetsFramesFlowAgain", R"(
830<83000000 614<80000000 +1000000 frames:0
830<80000000 +1000000 frames:14 # the fifteenth is being exposed
pulse:0:10 830<83000000 +1000000 frames:0 # waits again
)"},
    {"ShotsNeedNoTransmission", R"(
61C<80000000 61C=80000000 +1000000 frames:1 61C=0 # until they are done
61C<40000007 61C=40000007 +1000000 frames:7 61C=0
61C<40000000 61C=0 +1000000 frames:0
61C<80000000 61C=80000000 +1000000 frames:1 61C=0
61C<40000007 +200000 61C=40000005 # what is still to come
61C<0 +1000000 frames:2 # stopped
61C<40000007 +100000 forget 614<80000000 +66667 ExposureStart:14@5366666 none # transmission begins anew
)"},
    {"PinsFollowTheOutsideAtAllTimes", R"(
pulse:2:100 +50 pulse:2:100 +60 level:2:1 # the second pulse lasts
+40 level:2:0
unplug pin:2:1 replug level:2:1 # changed while the camera was away
)"},
    {"StrobesFollowTheExposure", R"(
11F8<C0000000 5200<82000000 5204<830C8064 # pins 0, active low, as long as the exposure; 1, for 1 ms after 2 ms
830<83E00000 614<80000000 +1000 6004=80000000 # at rest
62C<80000000 6004=0 +1000 6004=0 +1000 6004=40000000 +1000 6004=0 +1000 6004=0 +1000 6004=80000000
5200<80000000 6000<80000000 level:0:1 # without a strobe, what was written
pin:1:1 6004=80000000 # an output is not driven from outside
)"},
};

class SimulatedTrigger : public testing::TestWithParam<Script> {};

TEST_P(SimulatedTrigger, FollowsItsScript) {
    ScriptedCamera(kCamera).Follow(GetParam().steps);
}

INSTANTIATE_TEST_SUITE_P(Scripts, SimulatedTrigger, testing::ValuesIn(kScripts),
                         [](const auto& row) { return std::string(row.param.what); });

TEST(SimulatedEvents, HaveOneSinkThatOutlastsTheCamera) {
    ScriptedCamera camera(kCamera);
    struct : EventSink {
        void OnDeviceEvent(const RawDeviceEvent&) override {}
    } other;
    EXPECT_EQ(camera.m_pCamera->SetEventSink(&other).GetType(), ERR_EVENT_FAILED);
    const auto pPlain = MakeSimulation(R"({"cameras": [{"serial": 12}]})");
    EXPECT_EQ(OpenCamera(12)->SetEventSink(&other).GetType(), ERR_NOT_SUPPORTED)
        << "no events on this interface";
    std::vector<std::string> names;
    ASSERT_TRUE(IsOk(camera.m_pCamera->GetEventNames(&names)));
    EXPECT_EQ(names.size(), 6U);
    camera.Follow("+10");
    EXPECT_TRUE(IsOk(camera.m_pSimulation->ResetBus(1001)));
    camera.Follow("unplug replug LinkChange:1@10 LinkChange:0@10 LinkChange:1@10 none");

    bool isHigh = false;
    EXPECT_EQ(camera.m_pSimulation->GetPin(1001, 4, &isHigh).GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(camera.m_pSimulation->PulseInput(1001, 0, 0).GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(camera.m_pSimulation->SetInput(5, 0, true).GetType(), ERR_CAMERA_NOT_FOUND);
}

}  // namespace
}  // namespace Zevrin
