#include <array>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include "Failure.h"
#include "IidcCamera.h"
#include "Image.h"
#include "Iso.h"
#include "SettingsMemory.h"
#include "SimulatedFixture.h"

namespace Zevrin {
namespace {

constexpr unsigned int kSerial = 51;
constexpr unsigned int kPatienceMs = 60000;
constexpr unsigned int kGain = 0x820;
constexpr unsigned int kShutter = 0x81C;

class TestCamera : public IidcCamera {
  public:
    Iso& GetStream() { return *m_pIso; }
};

/// A camera under a clock set by hand, its object, connected with a policy, and the steps that this reports.
class Reconnection : public testing::Test {
  protected:
    void SetUp() override {
        m_pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{"serial": 51}]})");
        SetPolicy(kPatienceMs);
        ASSERT_TRUE(IsOk(m_camera.Connect(kSerial)));
    }
    void TearDown() override { ASSERT_TRUE(IsOk(m_camera.SetReconnectPolicy(nullptr))); }

    void Lose() {
        {
            boost::lock_guard<boost::mutex> lock(m_mutex);
            m_steps.clear();
        }
        ASSERT_TRUE(IsOk(m_pSimulation->Unplug(kSerial)));
        ASSERT_TRUE(Await([this] { return !GetReports().empty(); }));
    }
    void ComeBack() {
        ASSERT_TRUE(IsOk(m_pSimulation->Replug(kSerial)));
        ASSERT_TRUE(IsOk(m_camera.WaitForReconnection(kPatienceMs)));
    }

    void SetPolicy(unsigned int limitMs, ReconnectSettings settings = RECONNECT_RESTORE) {
        ReconnectPolicy policy;
        policy.limitMs = limitMs;
        policy.intervalMs = 5;
        policy.settings = settings;
        policy.userData = this;
        policy.callback = [](const ReconnectReport* pReport) {
            auto* const pThis = static_cast<Reconnection*>(const_cast<void*>(pReport->userData));
            EXPECT_EQ(pThis->m_camera.WaitForReconnection(kPatienceMs), ERR_NOT_SUPPORTED)
                << "waits for this";
            boost::lock_guard<boost::mutex> lock(pThis->m_mutex);
            if (pReport->step != RECONNECT_TRY_FAILED) {  // how often depends on the machine
                pThis->m_steps.push_back(*pReport);
            }
        };
        ASSERT_TRUE(IsOk(m_camera.SetReconnectPolicy(&policy)));
    }

    std::vector<ReconnectReport> GetReports() {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        return m_steps;
    }
    bool Reaches(ReconnectStep step) {
        return Await([&] {
            const std::vector<ReconnectReport> reports = GetReports();
            return !reports.empty() && reports.back().step == step;
        });
    }

    static void Take(Image* pImage, const void* pData) {
        auto* const pThis = static_cast<Reconnection*>(const_cast<void*>(pData));
        EXPECT_EQ(pThis->m_camera.WaitForReconnection(kPatienceMs), ERR_NOT_SUPPORTED) << "waits for this";
        ++pThis->m_imagesAfter.at(pImage->GetGaps());
    }

    unsigned int ReadBack(unsigned int offset) {
        unsigned int value = 0;
        EXPECT_TRUE(IsOk(m_camera.ReadRegister(offset, &value)));
        return value;
    }

    boost::shared_ptr<Simulation> m_pSimulation;
    boost::mutex m_mutex;  // guards the steps
    std::vector<ReconnectReport> m_steps;
    std::array<std::atomic<unsigned int>, 2> m_imagesAfter{};  // so many gaps, in the callback
    TestCamera m_camera;
};

TEST_F(Reconnection, PutsTheSettingsBackAndResumesTheStreamWithItsGapMarked) {
    const unsigned int gain = ReadBack(kGain) ^ 5;
    // The mode means nothing before the format, nor the rate before the mode.
    const VideoModeSetting mode{0, 5, 3, {}};
    ASSERT_TRUE(IsOk(m_camera.SetVideoMode(&mode)));
    ASSERT_TRUE(IsOk(m_camera.WriteRegister(kShutter, 0x82000123)));
    ASSERT_TRUE(IsOk(m_camera.WriteRegister(kGain, gain)));
    ASSERT_TRUE(IsOk(m_camera.StartCapture(nullptr, nullptr)));
    Iso& stream = m_camera.GetStream();
    for (unsigned int gaps = 0; gaps <= 2; ++gaps) {
        const unsigned int before = stream.GetNumOfImageDelivered();
        m_pSimulation->AdvanceClock(kSecond / 3);
        Image image;
        while (stream.WaitForBufferEvent(&image, 0) == ERR_OK) {
            EXPECT_EQ(image.GetGaps(), gaps);
        }
        EXPECT_GT(stream.GetNumOfImageDelivered(), before);
        boost::thread waiting(
            [&] { EXPECT_EQ(stream.WaitForBufferEvent(&image, kPatienceMs), ERR_CAMERA_LOST); });
        Lose();
        EXPECT_EQ(m_camera.WriteRegister(kGain, 0), ERR_INVALID_GENERATION);
        waiting.join();
        EXPECT_EQ(m_camera.WaitForReconnection(1), ERR_TIMEOUT);
        ComeBack();
        std::vector<ReconnectStep> steps;
        for (const ReconnectReport& report : GetReports()) {
            steps.push_back(report.step);
        }
        EXPECT_EQ(steps, (std::vector<ReconnectStep>{RECONNECT_LOST, RECONNECT_CONNECTED, RECONNECT_RESTORED,
                                                     RECONNECT_RESUMED, RECONNECT_DONE}));
        VideoModeSetting restored;
        ASSERT_TRUE(IsOk(m_camera.GetVideoMode(&restored)));
        EXPECT_EQ(restored.mode, 5U);
        EXPECT_EQ(restored.frameRate, 3U);
        EXPECT_EQ(ReadBack(kGain), gain);
        EXPECT_EQ(ReadBack(kShutter) & 0xFFF, 0x123U);
    }
    SimulatedFrameCounts counts;
    ASSERT_TRUE(IsOk(m_camera.StopCapture()));
    ASSERT_TRUE(IsOk(m_pSimulation->GetFrameCounts(kSerial, &counts)));
    EXPECT_EQ(counts.sent, stream.GetNumOfImageDelivered() + stream.GetNumOfImageCorrupt() +
                               stream.GetNumOfImageDropped() + stream.GetNumOfImageDriverDropped());
}

TEST_F(Reconnection, SurvivesABusResetWithItsCallbackAndSaysWhatTheCameraRefuses) {
    ASSERT_TRUE(IsOk(m_camera.WriteRegister(kGain, 0x82000011)));
    ASSERT_TRUE(IsOk(m_camera.StartCapture(nullptr, nullptr)));
    ASSERT_TRUE(IsOk(m_camera.GetStream().SetCallback(Take, this)));
    m_pSimulation->AdvanceClock(kSecond / 3);
    EXPECT_TRUE(Await([this] { return m_imagesAfter[0] > 0; }));
    ASSERT_TRUE(IsOk(m_pSimulation->SetFaults(kSerial, R"({"registers": {"addresses": ["0x820"]}})")));
    ASSERT_TRUE(IsOk(m_pSimulation->ResetBus(kSerial)));
    ASSERT_TRUE(Reaches(RECONNECT_DONE));
    m_pSimulation->AdvanceClock(kSecond / 3);
    EXPECT_TRUE(Await([this] { return m_imagesAfter[1] > 0; }));
    ASSERT_TRUE(IsOk(m_camera.Disconnect()));
    const std::vector<ReconnectReport> reports = GetReports();
    ASSERT_EQ(reports.size(), 5U);
    EXPECT_EQ(reports[2].step, RECONNECT_RESTORED);
    EXPECT_NE(reports[2].error, ERR_OK);
}

TEST_F(Reconnection, ResumesWhatTheApplicationWantsNow) {
    ASSERT_TRUE(IsOk(m_camera.StartCapture(nullptr, nullptr)));
    Lose();
    SetPolicy(kPatienceMs);
    ComeBack();
    EXPECT_TRUE(m_camera.GetStream().IsGrabStarted()) << "with a policy that was set anew meanwhile";
    EXPECT_EQ(ReadBack(kTransmissionRegister), kOn);

    ASSERT_TRUE(IsOk(m_camera.WriteRegister(kTransmissionRegister, 0)));
    for (unsigned int times = 0; times < 2; ++times) {
        Lose();
        ComeBack();
        EXPECT_TRUE(m_camera.GetStream().IsGrabStarted());
        EXPECT_EQ(ReadBack(kTransmissionRegister), 0U) << "it was switched off by the application";
    }

    Lose();
    EXPECT_EQ(m_camera.StopCapture(), ERR_INVALID_GENERATION);
    ComeBack();
    ASSERT_TRUE(IsOk(m_camera.StopCapture())) << "what was refused has changed nothing";
    ASSERT_TRUE(IsOk(m_camera.StartCapture(nullptr, nullptr)));
    EXPECT_EQ(ReadBack(kTransmissionRegister), kOn);

    SetPolicy(kPatienceMs, RECONNECT_KEEP);
    const unsigned int powerUp = ReadBack(kGain);
    ASSERT_TRUE(IsOk(m_camera.WriteRegister(kGain, powerUp ^ 5)));
    Lose();
    ComeBack();
    EXPECT_EQ(ReadBack(kGain), powerUp) << "the camera's own state is kept";
}

TEST_F(Reconnection, EndsWithItsTimeOrWithThePolicy) {
    SetPolicy(20);
    Lose();
    EXPECT_EQ(m_camera.WaitForReconnection(kPatienceMs), ERR_CAMERA_LOST);
    ASSERT_TRUE(Reaches(RECONNECT_GAVE_UP));
    ASSERT_TRUE(IsOk(m_pSimulation->Replug(kSerial)));
    ASSERT_TRUE(IsOk(m_camera.Connect(kSerial)));
    SetPolicy(kPatienceMs);
    Lose();
    ASSERT_TRUE(IsOk(m_camera.Disconnect())) << "while it is tried";
    EXPECT_EQ(m_camera.WaitForReconnection(1), ERR_NOT_CONNECTED);

    ReconnectPolicy wrong;
    wrong.intervalMs = 0;
    EXPECT_EQ(m_camera.SetReconnectPolicy(&wrong), ERR_VALUE_OUT_OF_RANGE);
    ASSERT_TRUE(IsOk(m_camera.SetReconnectPolicy(nullptr)));
    ASSERT_TRUE(IsOk(m_pSimulation->Replug(kSerial)));
    ASSERT_TRUE(IsOk(m_camera.Connect(kSerial)));
    ASSERT_TRUE(IsOk(m_pSimulation->Unplug(kSerial)));
    EXPECT_EQ(m_camera.WaitForReconnection(kPatienceMs), ERR_CAMERA_LOST) << "off by default";
}

TEST(SettingsMemory, HoldsTheLastWritesInTheirOrderAndNoActions) {
    using Runs = std::vector<std::vector<unsigned int>>;  // offsets with values
    const struct {
        const char* what;
        Runs writes;
        Runs held;
    } table[] = {
        {"a later write of a register comes later",
         {{0x820, 1}, {0x81C, 2}, {0x820, 3}},
         {{0x81C, 2}, {0x820, 3}}},
        {"what was written together stays together",
         {{0x2100, 1, 2, 3}, {0x2108, 4}, {0x600, 5}},
         {{0x2100, 1, 2}, {0x2108, 4}, {0x600, 5}}},
        {"actions are none: transmission, one shot, saving, the software trigger, resetting a count",
         {{0x614, kOn}, {0x61C, kOn}, {0x618, kOn}, {0x62C, kOn}, {0x12FC, 0}},
         {}},
        {"initializing undoes what went before", {{0x820, 1}, {0, kOn}, {0x81C, 2}}, {{0x81C, 2}}},
        {"a register that is no feature's keeps every bit", {{0x1F00, 0x86000001}}, {{0x1F00, 0x86000001}}},
        {"one push is not pushed again", {{0x80C, 0x86000001}}, {{0x80C, 0x82000001}}},
    };
    for (const auto& row : table) {
        SettingsMemory memory;
        for (const auto& write : row.writes) {
            const auto count = static_cast<unsigned int>(write.size() - 1);
            memory.Remember(kCommandBase, kRegisterSpace, kCommandBase + write[0], &write[1], count);
            memory.Remember(kCommandBase, kDeviceMemory, kCommandBase + write[0], &write[1], count);
        }
        Runs held;
        for (const SettingsMemory::Run& run : memory.GetRuns()) {
            EXPECT_EQ(run.addressHigh, kRegisterSpace) << "what a device's own memory does, nobody knows";
            held.push_back({run.addressLow - kCommandBase});
            held.back().insert(held.back().end(), run.values.begin(), run.values.end());
        }
        EXPECT_EQ(held, row.held) << row.what;
    }
}

/// A position is to lie within the size.
TEST(SettingsMemory, PutsBackWhatHasToWaitForLaterSettings) {
    constexpr unsigned int kPosition = 0;
    constexpr unsigned int kSize = 1;
    constexpr unsigned int kNothing = 2;
    std::array<unsigned int, 3> device{0, 100, 0};
    unsigned int writes = 0;
    Error away;
    const auto write = [&](const SettingsMemory::Run& run) {
        ++writes;
        auto changed = device;
        changed[run.addressLow] = run.values[0];
        if (changed[kPosition] + changed[kSize] > 100 || changed[kNothing] != 0) {
            return Failure(ERR_WRITE_REGISTER_FAILED, "Refused.");
        }
        device = changed;
        return away;
    };
    const std::vector<SettingsMemory::Run> runs{
        {kRegisterSpace, kNothing, {1}}, {kRegisterSpace, kPosition, {60}}, {kRegisterSpace, kSize, {40}}};
    unsigned int count = 0;
    Error refusal;
    ASSERT_TRUE(IsOk(SettingsMemory::PutBack(runs, write, &count, &refusal)));
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(refusal, ERR_WRITE_REGISTER_FAILED);
    EXPECT_EQ(device[kPosition], 60U);
    EXPECT_EQ(writes, 3U + 2U + 1U) << "until a pass changes nothing";
    away = Failure(ERR_CAMERA_LOST, "gone");
    EXPECT_EQ(SettingsMemory::PutBack({runs[1], runs[2]}, write, &count, &refusal), ERR_CAMERA_LOST);
    EXPECT_EQ(writes, 7U);
}

}  // namespace
}  // namespace Zevrin
