#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <map>

#include "BusMaster.h"
#include "Failure.h"
#include "IidcCamera.h"
#include "Image.h"
#include "Iso.h"
#include "Registers.h"
#include "SettingsMemory.h"
#include "SimulatedFixture.h"
#include "Singleton.h"

namespace Zevrin {
namespace {

constexpr unsigned int kSerial = 51;
constexpr unsigned int kPatienceMs = 30000;
constexpr unsigned int kGain = 0x820;
constexpr unsigned int kShutter = 0x81C;
constexpr unsigned int kTransmission = 0x614;

class TestCamera : public IidcCamera {
  public:
    Iso& GetStream() { return *m_pIso; }
};

/// A simulated camera under a clock set by hand, its object, and the steps that the policy reports.
class Reconnection : public testing::Test {
  protected:
    Reconnection() {
        std::vector<std::unique_ptr<Transport>> transports;
        transports.push_back(std::make_unique<SimulatedTransport>());
        // The library's own way would look for cameras on the network, too.
        Singleton<BusMaster>::m_pInstance = new BusMaster(std::move(transports));
        m_pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{"serial": 51}]})");
        m_pCamera = std::make_unique<TestCamera>();
    }
    ~Reconnection() override { m_pCamera.reset(); }

    static void Mark(Image* pImage, const void* pData) {
        if (pImage->GetGaps() == 1) {
            *static_cast<std::atomic<bool>*>(const_cast<void*>(pData)) = true;
        }
    }

    void Connect() { ASSERT_TRUE(IsOk(m_pCamera->Connect(kSerial))); }
    void Unplug() { ASSERT_TRUE(IsOk(m_pSimulation->Unplug(kSerial))); }
    void ComeBack() {
        ASSERT_TRUE(IsOk(m_pSimulation->Replug(kSerial)));
        ASSERT_TRUE(IsOk(m_pCamera->WaitForReconnection(kPatienceMs)));
    }

    void SetPolicy(unsigned int limitMs, ReconnectSettings settings = RECONNECT_RESTORE) {
        ReconnectPolicy policy;
        policy.limitMs = limitMs;
        policy.intervalMs = 5;
        policy.settings = settings;
        policy.userData = this;
        policy.callback = [](const ReconnectReport* pReport) {
            auto* const pThis = static_cast<Reconnection*>(const_cast<void*>(pReport->userData));
            boost::lock_guard<boost::mutex> lock(pThis->m_mutex);
            if (pReport->step != RECONNECT_TRY_FAILED) {  // how often depends on the machine
                pThis->m_steps.push_back(*pReport);
            }
        };
        ASSERT_TRUE(IsOk(m_pCamera->SetReconnectPolicy(&policy)));
    }

    /// Without failed tries.
    std::vector<ReconnectStep> GetSteps() {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        std::vector<ReconnectStep> steps;
        for (const ReconnectReport& report : m_steps) {
            steps.push_back(report.step);
        }
        return steps;
    }

    void ForgetSteps() {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_steps.clear();
    }
    bool Reaches(ReconnectStep step) {
        return Await([&] {
            const std::vector<ReconnectStep> steps = GetSteps();
            return std::find(steps.begin(), steps.end(), step) != steps.end();
        });
    }

    unsigned int ReadBack(unsigned int offset) {
        unsigned int value = 0;
        EXPECT_TRUE(IsOk(m_pCamera->ReadRegister(offset, &value)));
        return value;
    }

    /// Takes what has arrived; all of it is to have this many gaps before it.
    unsigned int Drain(unsigned int gaps) {
        unsigned int frames = 0;
        Image image;
        for (; m_pCamera->GetStream().WaitForBufferEvent(&image, 0) == ERR_OK; ++frames) {
            EXPECT_EQ(image.GetGaps(), gaps);
        }
        return frames;
    }

    boost::shared_ptr<Simulation> m_pSimulation;
    std::unique_ptr<TestCamera> m_pCamera;
    boost::mutex m_mutex;  // guards the steps
    std::vector<ReconnectReport> m_steps;
};

TEST_F(Reconnection, ResumesTheStreamWithTheCallbackThatItGotWhileItRan) {
    std::atomic<bool> isMarked{false};
    SetPolicy(kPatienceMs);
    Connect();
    ASSERT_TRUE(IsOk(m_pCamera->StartCapture(nullptr, nullptr)));
    ASSERT_TRUE(IsOk(m_pCamera->GetStream().SetCallback(&Mark, &isMarked)));
    Unplug();
    ComeBack();
    m_pSimulation->AdvanceClock(kSecond / 3);
    EXPECT_TRUE(Await([&] { return isMarked.load(); }));
    ASSERT_TRUE(IsOk(m_pCamera->Disconnect()));
}

TEST_F(Reconnection, PutsTheSettingsBackAndResumesTheStreamWithItsGapMarked) {
    SetPolicy(kPatienceMs);
    Connect();
    const unsigned int gainBefore = ReadBack(kGain);
    // The mode means nothing before the format, nor the rate before the mode.
    const VideoModeSetting mode{0, 5, 3, {}};
    ASSERT_TRUE(IsOk(m_pCamera->SetVideoMode(&mode)));
    ASSERT_TRUE(IsOk(m_pCamera->WriteRegister(kShutter, 0x82000123)));
    ASSERT_TRUE(IsOk(m_pCamera->WriteRegister(kGain, gainBefore ^ 5)));
    const unsigned int gain = ReadBack(kGain);
    ASSERT_NE(gain, gainBefore);
    ASSERT_TRUE(IsOk(m_pCamera->StartCapture(nullptr, nullptr)));
    m_pSimulation->AdvanceClock(kSecond / 3);
    unsigned int delivered = Drain(0);
    EXPECT_GT(delivered, 0U);
    unsigned long long sent = 0;
    for (unsigned int gaps = 1; gaps <= 2; ++gaps) {
        boost::thread waiting([&] {
            Image image;
            const Error error = m_pCamera->GetStream().WaitForBufferEvent(&image, kPatienceMs);
            EXPECT_TRUE(error == ERR_CAMERA_LOST || error == ERR_ISOCH_NOT_STARTED) << error.GetTrace();
        });
        SimulatedFrameCounts counts;
        ASSERT_TRUE(IsOk(m_pSimulation->GetFrameCounts(kSerial, &counts)));
        sent = counts.sent;
        Unplug();
        unsigned int value = 0;
        EXPECT_EQ(m_pCamera->ReadRegister(kGain, &value).GetType(), ERR_INVALID_GENERATION);
        waiting.join();
        EXPECT_EQ(m_pCamera->WaitForReconnection(1).GetType(), ERR_TIMEOUT);
        ComeBack();
        VideoModeSetting restored;
        ASSERT_TRUE(IsOk(m_pCamera->GetVideoMode(&restored)));
        EXPECT_EQ(restored.mode, 5U);
        EXPECT_EQ(restored.frameRate, 3U);
        EXPECT_EQ(ReadBack(kGain), gain);
        EXPECT_EQ(ReadBack(kShutter) & 0xFFF, 0x123U);
        m_pSimulation->AdvanceClock(kSecond / 3);
        const unsigned int resumed = Drain(gaps);
        EXPECT_GT(resumed, 0U);
        delivered += resumed;
    }
    EXPECT_EQ(GetSteps(), (std::vector<ReconnectStep>{RECONNECT_LOST, RECONNECT_CONNECTED, RECONNECT_RESTORED,
                                                      RECONNECT_RESUMED, RECONNECT_DONE, RECONNECT_LOST,
                                                      RECONNECT_CONNECTED, RECONNECT_RESTORED,
                                                      RECONNECT_RESUMED, RECONNECT_DONE}));
    SimulatedFrameCounts counts;
    ASSERT_TRUE(IsOk(m_pCamera->StopCapture()));
    ASSERT_TRUE(IsOk(m_pSimulation->GetFrameCounts(kSerial, &counts)));
    const Iso& stream = m_pCamera->GetStream();
    EXPECT_GT(counts.sent, sent);
    EXPECT_EQ(counts.sent, delivered + stream.GetNumOfImageCorrupt() + stream.GetNumOfImageDropped() +
                               stream.GetNumOfImageDriverDropped());
    EXPECT_EQ(delivered, stream.GetNumOfImageDelivered());
}

TEST_F(Reconnection, KeepsTheCamerasOwnStateWhenAskedTo) {
    SetPolicy(kPatienceMs, RECONNECT_KEEP);
    Connect();
    const unsigned int powerUp = ReadBack(kGain);
    ASSERT_TRUE(IsOk(m_pCamera->WriteRegister(kGain, powerUp ^ 5)));
    Unplug();
    ComeBack();
    EXPECT_EQ(ReadBack(kGain), powerUp);
}

TEST_F(Reconnection, SurvivesABusResetAndSaysWhatTheCameraRefuses) {
    Connect();
    SetPolicy(kPatienceMs);
    ASSERT_TRUE(IsOk(m_pCamera->WriteRegister(kGain, 0x82000011)));
    ASSERT_TRUE(IsOk(m_pSimulation->SetFaults(kSerial, R"({"registers": {"addresses": ["0x820"]}})")));
    ASSERT_TRUE(IsOk(m_pSimulation->ResetBus(kSerial)));
    ASSERT_TRUE(Reaches(RECONNECT_DONE));
    ASSERT_TRUE(IsOk(m_pCamera->WaitForReconnection(kPatienceMs)));
    EXPECT_EQ(GetSteps(), (std::vector<ReconnectStep>{RECONNECT_LOST, RECONNECT_CONNECTED, RECONNECT_RESTORED,
                                                      RECONNECT_DONE}));
    EXPECT_NE(m_steps[2].error, ERR_OK);
    EXPECT_EQ(m_steps[2].count, 0U);
}

TEST_F(Reconnection, ResumesWhatTheApplicationWantsNow) {
    SetPolicy(kPatienceMs);
    Connect();
    const auto lose = [&] {
        ForgetSteps();
        Unplug();
        ASSERT_TRUE(Reaches(RECONNECT_LOST));
    };
    ASSERT_TRUE(IsOk(m_pCamera->StartCapture(nullptr, nullptr)));
    lose();
    SetPolicy(kPatienceMs);
    ComeBack();
    EXPECT_TRUE(m_pCamera->GetStream().IsGrabStarted()) << "with a policy that was set anew meanwhile";
    EXPECT_EQ(ReadBack(kTransmission), kOn);

    ASSERT_TRUE(IsOk(m_pCamera->WriteRegister(kTransmission, 0)));
    for (unsigned int times = 0; times < 2; ++times) {
        lose();
        ComeBack();
        EXPECT_TRUE(m_pCamera->GetStream().IsGrabStarted());
        EXPECT_EQ(ReadBack(kTransmission), 0U) << "it was switched off by the application";
    }

    lose();
    EXPECT_EQ(m_pCamera->StopCapture().GetType(), ERR_INVALID_GENERATION);
    ComeBack();
    ASSERT_TRUE(IsOk(m_pCamera->StopCapture())) << "what was refused has changed nothing";
    ASSERT_TRUE(IsOk(m_pCamera->StartCapture(nullptr, nullptr)));
    EXPECT_EQ(ReadBack(kTransmission), kOn);
}

TEST_F(Reconnection, IsNotWaitedForByWhatItWaitsFor) {
    struct Answers {
        TestCamera* pCamera = nullptr;
        std::atomic<int> inReport{ERR_OK};
        std::atomic<int> inImageCallback{ERR_OK};
    } answers;
    answers.pCamera = m_pCamera.get();
    ReconnectPolicy policy;
    policy.limitMs = kPatienceMs;
    policy.userData = &answers;
    policy.callback = [](const ReconnectReport* pReport) {
        auto& told = *static_cast<Answers*>(const_cast<void*>(pReport->userData));
        told.inReport = told.pCamera->WaitForReconnection(kPatienceMs).GetType();
    };
    ASSERT_TRUE(IsOk(m_pCamera->SetReconnectPolicy(&policy)));
    Connect();
    ASSERT_TRUE(IsOk(m_pCamera->StartCapture(
        [](Image*, const void* pData) {
            auto& told = *static_cast<Answers*>(const_cast<void*>(pData));
            told.inImageCallback = told.pCamera->WaitForReconnection(kPatienceMs).GetType();
        },
        &answers)));
    m_pSimulation->AdvanceClock(kSecond / 3);
    EXPECT_TRUE(Await([&] { return answers.inImageCallback != ERR_OK; }));
    ASSERT_TRUE(IsOk(m_pSimulation->ResetBus(kSerial)));
    ASSERT_TRUE(IsOk(m_pCamera->WaitForReconnection(kPatienceMs)));
    ASSERT_TRUE(IsOk(m_pCamera->SetReconnectPolicy(nullptr)));  // the last report has ended
    ASSERT_TRUE(IsOk(m_pCamera->StopCapture()));
    EXPECT_EQ(answers.inReport, ERR_NOT_SUPPORTED);
    EXPECT_EQ(answers.inImageCallback, ERR_NOT_SUPPORTED);
}

TEST_F(Reconnection, EndsWithItsTimeOrWithThePolicy) {
    Connect();
    Unplug();
    EXPECT_EQ(m_pCamera->WaitForReconnection(kPatienceMs).GetType(), ERR_CAMERA_LOST) << "off by default";
    SetPolicy(20);
    EXPECT_EQ(m_pCamera->WaitForReconnection(kPatienceMs).GetType(), ERR_CAMERA_LOST);
    ASSERT_TRUE(Reaches(RECONNECT_GAVE_UP));
    ASSERT_TRUE(IsOk(m_pSimulation->Replug(kSerial)));
    Connect();
    SetPolicy(kPatienceMs);
    Unplug();
    ASSERT_TRUE(Reaches(RECONNECT_LOST));
    ASSERT_TRUE(IsOk(m_pCamera->Disconnect())) << "while it is tried";
    EXPECT_EQ(m_pCamera->WaitForReconnection(1).GetType(), ERR_NOT_CONNECTED);

    ReconnectPolicy wrong;
    wrong.intervalMs = 0;
    EXPECT_EQ(m_pCamera->SetReconnectPolicy(&wrong).GetType(), ERR_VALUE_OUT_OF_RANGE);
}

TEST(SettingsMemory, HoldsTheLastWritesInTheirOrderAndNoActions) {
    using Writes = std::vector<SettingsMemory::Run>;
    constexpr unsigned int kBase = 0xF0F00000;
    const auto at = [](unsigned int offset, std::vector<unsigned int> values) {
        return SettingsMemory::Run{kRegisterSpace, kBase + offset, std::move(values)};
    };
    const struct {
        const char* what;
        Writes writes;
        Writes runs;
    } cases[] = {
        {"a later write of a register comes later",
         {at(0x820, {1}), at(0x81C, {2}), at(0x820, {3})},
         {at(0x81C, {2}), at(0x820, {3})}},
        {"what was written together stays together",
         {at(0x2100, {1, 2, 3}), at(0x2108, {4}), at(0x600, {5})},
         {at(0x2100, {1, 2}), at(0x2108, {4}), at(0x600, {5})}},
        {"actions are none: transmission, one shot, saving, the software trigger, resetting a count",
         {at(0x614, {kOn}), at(0x61C, {kOn}), at(0x618, {kOn}), at(0x62C, {kOn}), at(0x12FC, {0})},
         {}},
        {"a device's own memory is none of these", {{kDeviceMemory, 0x820, {7}}}, {}},
        {"initializing undoes what went before",
         {at(0x820, {1}), at(0, {kOn}), at(0x81C, {2})},
         {at(0x81C, {2})}},
        {"a register that is no feature's keeps every bit",
         {at(0x1F00, {0x86000001})},
         {at(0x1F00, {0x86000001})}},
        {"one push is not pushed again", {at(0x80C, {0x86000001})}, {at(0x80C, {0x82000001})}},
    };
    for (const auto& row : cases) {
        SettingsMemory memory;
        for (const SettingsMemory::Run& write : row.writes) {
            memory.Remember(kBase, write.addressHigh, write.addressLow, write.values.data(),
                            static_cast<unsigned int>(write.values.size()));
        }
        const Writes runs = memory.GetRuns();
        ASSERT_EQ(runs.size(), row.runs.size()) << row.what;
        for (std::size_t index = 0; index < runs.size(); ++index) {
            EXPECT_EQ(runs[index].addressHigh, row.runs[index].addressHigh) << row.what;
            EXPECT_EQ(runs[index].addressLow, row.runs[index].addressLow) << row.what;
            EXPECT_EQ(runs[index].values, row.runs[index].values) << row.what;
        }
    }
}

/// Two pairs of registers that refuse one another: a position that is to lie within the size, and a shutter
/// time that is to fit into the period of the frames.
TEST(SettingsMemory, PutsBackWhatHasToWaitForLaterSettings) {
    constexpr unsigned int kPosition = 8;
    constexpr unsigned int kSize = 12;
    constexpr unsigned int kTime = 16;
    constexpr unsigned int kPeriod = 20;
    constexpr unsigned int kNothing = 24;
    std::map<unsigned int, unsigned int> device{{kPosition, 0}, {kSize, 100}, {kTime, 5}, {kPeriod, 10}};
    unsigned int writes = 0;
    Error away;
    const auto write = [&](const SettingsMemory::Run& run) {
        ++writes;
        auto changed = device;
        changed[run.addressLow] = run.values[0];
        if (run.addressLow == kNothing || changed[kPosition] + changed[kSize] > 100 ||
            changed[kTime] > changed[kPeriod]) {
            return Failure(ERR_WRITE_REGISTER_FAILED, "Register %u takes no %u.", run.addressLow,
                           run.values[0]);
        }
        device = changed;
        return away;
    };
    const std::vector<SettingsMemory::Run> runs{{kRegisterSpace, kNothing, {1}},
                                                {kRegisterSpace, kPosition, {60}},
                                                {kRegisterSpace, kTime, {25}},
                                                {kRegisterSpace, kSize, {40}},
                                                {kRegisterSpace, kPeriod, {30}}};
    unsigned int count = 0;
    Error refusal;
    ASSERT_TRUE(IsOk(SettingsMemory::PutBack(runs, write, &count, &refusal)));
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(refusal.GetType(), ERR_WRITE_REGISTER_FAILED);
    EXPECT_EQ(device[kPosition] * 1000 + device[kTime], 60025U);
    EXPECT_EQ(writes, 5U + 3U + 1U) << "until a pass changes nothing";
    away = Failure(ERR_CAMERA_LOST, "gone");
    EXPECT_EQ(SettingsMemory::PutBack({runs[3], runs[4]}, write, &count, &refusal), ERR_CAMERA_LOST);
    EXPECT_EQ(writes, 10U);
}

}  // namespace
}  // namespace Zevrin
