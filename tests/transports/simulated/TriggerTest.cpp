#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "SimulatedFixture.h"
#include "TestPicture.h"

namespace Zevrin {
namespace {

// Registers and their words.
constexpr unsigned int kTriggerRegister = 0x830;
constexpr unsigned int kSoftwareTriggerRegister = 0x62C;
constexpr unsigned int kTriggerOn = 0x83000000;  // active high

constexpr unsigned int Mode(unsigned int mode, unsigned int source = 0, unsigned int parameter = 0) {
    return kTriggerOn | source << 21 | mode << 16 | parameter;
}

/// Collects events as "name number@microseconds".
class Recorder : public EventSink {
  public:
    void OnDeviceEvent(const RawDeviceEvent& event) override {
        unsigned int number = 0;
        for (const unsigned char byte : event.data) {
            number = number << 8 | byte;
        }
        m_events.push_back(event.name + " " + std::to_string(number) + "@" +
                           std::to_string(event.timeStampNs / 1000));
    }
    std::vector<std::string> Take() { return std::exchange(m_events, {}); }

  private:
    std::vector<std::string> m_events;
};

using Events = std::vector<std::string>;

/// A camera whose frames and events are recorded, sending, its clock at 0.
class SimulatedTrigger : public ::testing::Test {
  protected:
    SimulatedTrigger()
        : m_pSimulation(MakeSimulation(
              R"({"clock": "manual", "cameras": [{"interface": "u3v", "width": 640, "height": 512}]})")),
          m_pCamera(OpenCamera(1001)),
          m_stream(*m_pCamera) {
        EXPECT_TRUE(IsOk(m_pCamera->SetEventSink(&m_recorder)));
    }
    ~SimulatedTrigger() override { EXPECT_TRUE(IsOk(m_pCamera->SetEventSink(nullptr))); }

    void Write(unsigned int offset, unsigned int value) { WriteCommand(*m_pCamera, offset, value); }
    void Begin(unsigned int triggerMode) {
        Write(kTriggerRegister, triggerMode);
        Write(kTransmissionRegister, kOn);
    }
    void Pulse(unsigned int pin, unsigned long long microseconds) {
        EXPECT_TRUE(IsOk(m_pSimulation->PulseInput(1001, pin, microseconds)));
    }
    void Advance(unsigned long long microseconds) { m_pSimulation->AdvanceClock(microseconds); }

    boost::shared_ptr<Simulation> m_pSimulation;
    boost::shared_ptr<HardwareInterface> m_pCamera;
    Listening m_stream;
    Recorder m_recorder;
};

TEST_F(SimulatedTrigger, ExposesOncePerEdgeAndRefusesWhatComesTooEarly) {
    Begin(Mode(0, 2));
    Advance(kSecond);
    EXPECT_EQ(m_stream.Drain(), 0U) << "waits";
    Pulse(1, 100);
    Advance(kSecond);
    EXPECT_EQ(m_stream.Drain(), 0U) << "another source";
    Pulse(2, 100);  // at 2 s
    Advance(5500);
    Pulse(2, 100);  // exposed, and still read out: 10 packets take 1.25 ms
    Advance(1000);
    Pulse(2, 100);
    Advance(kSecond);
    EXPECT_EQ(m_recorder.Take(),
              (Events{"Trigger 1@2000000", "ExposureStart 1@2000000", "ExposureEnd 1@2005000",
                      "FrameStart 1@2005000", "Overrun 1@2005500", "Trigger 2@2006500",
                      "ExposureStart 2@2006500", "ExposureEnd 2@2011500", "FrameStart 2@2011500"}));
    EXPECT_EQ(m_stream.Drain(), 2U);
    Write(kTransmissionRegister, 0);
    Pulse(2, 100);
    Advance(kSecond);
    EXPECT_TRUE(m_recorder.Take().empty()) << "transmission is off";
}

TEST_F(SimulatedTrigger, OfModeFourteenOverlapsReadOut) {
    Begin(Mode(14));
    Pulse(0, 10);
    Advance(4999);
    Pulse(0, 10);
    Advance(1);
    EXPECT_EQ(m_recorder.Take().back(), "FrameStart 1@5000");
    Advance(10);
    Pulse(0, 10);
    EXPECT_EQ(m_recorder.Take(), (Events{"Trigger 2@5010", "ExposureStart 2@5010"}));
}

TEST_F(SimulatedTrigger, IsDelayed) {
    Write(0x834, 0x82000064);  // 2 ms
    Begin(Mode(0));
    Pulse(0, 10);
    Advance(1000);
    Pulse(0, 10);
    Advance(kSecond);
    EXPECT_EQ(m_recorder.Take(), (Events{"Trigger 1@0", "Overrun 1@1000", "ExposureStart 1@2000",
                                         "ExposureEnd 1@7000", "FrameStart 1@7000"}));
}

TEST_F(SimulatedTrigger, OfModeOneExposesForAsLongAsItIsActive) {
    Begin(Mode(1, 3) & ~0x01000000U);  // active low
    EXPECT_TRUE(IsOk(m_pSimulation->SetInput(1001, 3, true)));
    Advance(1000);
    EXPECT_EQ(ReadCommand(*m_pCamera, kTriggerRegister) & 0x00100000, 0x00100000U) << "the level can be read";
    EXPECT_TRUE(IsOk(m_pSimulation->SetInput(1001, 3, false)));
    Advance(2500);
    EXPECT_TRUE(IsOk(m_pSimulation->SetInput(1001, 3, true)));
    Advance(kSecond);
    EXPECT_EQ(m_recorder.Take(),
              (Events{"Trigger 1@1000", "ExposureStart 1@1000", "ExposureEnd 1@3500", "FrameStart 1@3500"}));
    m_stream.Drain([](const Frame& frame) {
        EXPECT_NEAR(frame.data[200 * 640 + 300], SceneAt(300 + 200 + 4) / 2.0, 1.01) << "half of 5 ms";
    });
    EXPECT_EQ(m_stream.Counters().delivered, 1U);

    Write(kTriggerRegister, Mode(1, 7));
    Write(kSoftwareTriggerRegister, kOn);
    EXPECT_EQ(ReadCommand(*m_pCamera, kSoftwareTriggerRegister), kOn) << "lasts";
    Advance(7000);
    Write(kSoftwareTriggerRegister, 0);
    Advance(0);
    EXPECT_EQ(m_recorder.Take().back(), "FrameStart 2@1010500");
}

TEST_F(SimulatedTrigger, OfModeFifteenTakesManyFrames) {
    Begin(Mode(15, 7, 4));
    Write(kSoftwareTriggerRegister, kOn);
    Advance(100000);
    Write(kSoftwareTriggerRegister, kOn);
    Advance(kSecond);
    EXPECT_EQ(m_stream.Drain(), 4U);
    const Events events = m_recorder.Take();
    EXPECT_EQ(events[4], "ExposureStart 2@66666") << "at the frame rate";
    EXPECT_EQ(events.back(), "FrameStart 4@204999");
    EXPECT_EQ(std::count(events.begin(), events.end(), "Overrun 1@100000"), 1);
    Write(kSoftwareTriggerRegister, kOn);
    Advance(kSecond);
    EXPECT_EQ(m_stream.Drain(), 4U);
}

TEST_F(SimulatedTrigger, SwitchedOffLetsFramesFlowAgain) {
    Begin(Mode(0));
    Advance(kSecond);
    EXPECT_EQ(m_stream.Drain(), 0U);
    Write(kTriggerRegister, 0x80000000);
    Advance(kSecond);
    EXPECT_EQ(m_stream.Drain(), 14U) << "the fifteenth is being exposed";
    Pulse(0, 10);
    Write(kTriggerRegister, Mode(0));
    Advance(kSecond);
    EXPECT_EQ(m_stream.Drain(), 0U) << "waits again";
}

TEST_F(SimulatedTrigger, ShotsNeedNoTransmission) {
    const struct {
        unsigned int word;
        unsigned int frames;
    } table[] = {{0x80000000, 1}, {0x40000007, 7}, {0x40000000, 0}, {0x80000000, 1}};
    for (const auto& row : table) {
        Write(0x61C, row.word);
        EXPECT_EQ(ReadCommand(*m_pCamera, 0x61C), row.frames != 0 ? row.word : 0) << "until they are done";
        Advance(kSecond);
        EXPECT_EQ(m_stream.Drain(), row.frames) << std::hex << row.word;
        EXPECT_EQ(ReadCommand(*m_pCamera, 0x61C), 0U);
    }
    Write(0x61C, 0x40000007);
    Advance(200000);
    EXPECT_EQ(ReadCommand(*m_pCamera, 0x61C), 0x40000005U) << "what is still to come";
    Write(0x61C, 0);
    Advance(kSecond);
    EXPECT_EQ(m_stream.Drain(), 2U) << "stopped";
    Write(0x61C, 0x40000007);
    Advance(100000);
    m_recorder.Take();
    Write(kTransmissionRegister, kOn);
    Advance(66667);
    EXPECT_EQ(m_recorder.Take(), (Events{"ExposureStart 14@5366666"})) << "transmission begins anew";
}

TEST_F(SimulatedTrigger, PinsFollowTheOutsideAtAllTimes) {
    const auto isHigh = [&] {
        bool level = false;
        EXPECT_TRUE(IsOk(m_pSimulation->GetPin(1001, 2, &level)));
        return level;
    };
    Pulse(2, 100);
    Advance(50);
    Pulse(2, 100);
    Advance(60);
    EXPECT_TRUE(isHigh()) << "the second pulse lasts";
    Advance(40);
    EXPECT_FALSE(isHigh());
    ASSERT_TRUE(IsOk(m_pSimulation->Unplug(1001)));
    EXPECT_TRUE(IsOk(m_pSimulation->SetInput(1001, 2, true)));
    ASSERT_TRUE(IsOk(m_pSimulation->Replug(1001)));
    EXPECT_TRUE(isHigh()) << "changed while the camera was away";
}

TEST_F(SimulatedTrigger, StrobesFollowTheExposure) {
    // Pins 0 and 1 are outputs: one active low for as long as the exposure, one for 1 ms after 2 ms.
    Write(0x11F8, 0xC0000000);
    Write(0x5200, 0x82000000);
    Write(0x5204, 0x83000000 | 200U << 12 | 100);
    Begin(Mode(0, 7));
    Advance(1000);
    const auto levels = [&] { return ReadCommand(*m_pCamera, 0x6004) >> 30; };
    EXPECT_EQ(levels(), 2U) << "at rest";
    Write(kSoftwareTriggerRegister, kOn);
    const unsigned int expected[] = {0, 0, 1, 0, 0, 2, 2};  // each millisecond
    for (const unsigned int level : expected) {
        EXPECT_EQ(levels(), level);
        Advance(1000);
    }
    Write(0x5200, 0x80000000);
    Write(0x6000, 0x80000000);
    bool isHigh = false;
    EXPECT_TRUE(IsOk(m_pSimulation->GetPin(1001, 0, &isHigh)));
    EXPECT_TRUE(isHigh) << "without a strobe, what was written";
    EXPECT_TRUE(IsOk(m_pSimulation->SetInput(1001, 1, true)));
    EXPECT_EQ(levels(), 2U) << "an output is not driven from outside";

    EXPECT_EQ(m_pSimulation->GetPin(1001, 4, &isHigh).GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(m_pSimulation->PulseInput(1001, 0, 0).GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(m_pSimulation->SetInput(5, 0, true).GetType(), ERR_CAMERA_NOT_FOUND);
}

TEST_F(SimulatedTrigger, EventsHaveOneSinkThatOutlastsTheCamera) {
    Recorder other;
    EXPECT_EQ(m_pCamera->SetEventSink(&other).GetType(), ERR_EVENT_FAILED);
    std::vector<std::string> names;
    ASSERT_TRUE(IsOk(m_pCamera->GetEventNames(&names)));
    EXPECT_EQ(names.size(), 6U);
    Advance(10);
    EXPECT_TRUE(IsOk(m_pSimulation->ResetBus(1001)));
    EXPECT_TRUE(IsOk(m_pSimulation->Unplug(1001)));
    EXPECT_TRUE(IsOk(m_pSimulation->Replug(1001)));
    EXPECT_EQ(m_recorder.Take(), (Events{"LinkChange 1@10", "LinkChange 0@10", "LinkChange 1@10"}));

    const auto pPlain = MakeSimulation(R"({"cameras": [{"serial": 12}]})");
    EXPECT_EQ(OpenCamera(12)->SetEventSink(&other).GetType(), ERR_NOT_SUPPORTED)
        << "no events on this interface";
}

}  // namespace
}  // namespace Zevrin
