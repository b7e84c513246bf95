#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <future>

#include "Image.h"
#include "RememberingHardware.h"
#include "SettingsMemory.h"
#include "SimulatedFixture.h"
#include "support/FrameAccount.h"

namespace Zevrin {
namespace {

/// The first image that a camera's callback gets, as ticks of the bus clock.
struct FirstImage {
    static void Take(Image* pImage, const void* pData) {
        const TimeStamp stamp = pImage->GetTimeStamp();
        long long none = -1;
        static_cast<FirstImage*>(const_cast<void*>(pData))
            ->ticks.compare_exchange_strong(
                none, (stamp.cycleSeconds * 8000LL + stamp.cycleCount) * 3072 + stamp.cycleOffset);
    }
    std::atomic<long long> ticks{-1};
};

/// Tells when a camera's transmission has been switched.
class WatchedHardware : public RememberingHardware {
  public:
    WatchedHardware(boost::shared_ptr<HardwareInterface> pCamera, std::function<void(bool)> onSwitched)
        : RememberingHardware(std::move(pCamera), boost::make_shared<SettingsMemory>()),
          m_onSwitched(std::move(onSwitched)) {}
    Error WriteQuadlets(unsigned short high, unsigned int low, const unsigned int* pValues,
                        unsigned int count, bool broadcast) override {
        const Error error = RememberingHardware::WriteQuadlets(high, low, pValues, count, broadcast);
        if (low == kCommandBase + kTransmissionRegister) {
            m_onSwitched(*pValues != 0);
        }
        return error;
    }

  private:
    const std::function<void(bool)> m_onSwitched;
};

/// A hand-set clock that runs while cameras are to send, and stands still from the moment at which the last
/// one has been switched off until it is on again: what happens in between takes no time but the latency of
/// the writes and what `whenOff` lets pass at once.
class SyncStartTest : public testing::Test {
  protected:
    /// @param second  what tells the last of two cameras, or of 64, from the first
    void Describe(const std::string& second) {
        m_cameras.clear();
        m_pSimulation.reset();
        const std::string common = R"({"width": 64, "height": 48, "paint": false, "frameRate": )";
        m_pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [)" + common + "100}, " + common +
                                       second + "}]}");
        SimulatedFrameCounts counts;
        unsigned int serial = 1001;
        for (; m_pSimulation->GetFrameCounts(serial, &counts) == ERR_OK; ++serial) {
            m_cameras.push_back(boost::make_shared<AccountedCamera>());
            ASSERT_TRUE(IsOk(m_cameras.back()->Connect(serial)));
        }
        m_pLast = OpenCamera(serial - 1);
        const RegisterBases bases = m_pLast->GetRegisterBases();
        const auto pWatched = boost::make_shared<WatchedHardware>(m_pLast, [this](bool isOn) {
            const boost::lock_guard<boost::mutex> lock(m_mutex);
            m_isClockRunning = isOn;
            if (!isOn && m_whenOff) {
                m_whenOff();
            }
        });
        ASSERT_TRUE(
            IsOk(m_cameras.back()->SetAllIO(pWatched, bases.initialRegisterSpace, bases.commandRegisters)));
    }

    void LetTimePass() {
        const boost::lock_guard<boost::mutex> lock(m_mutex);
        if (m_isClockRunning) {
            m_pSimulation->AdvanceClock(1000);
        }
        boost::this_thread::yield();
    }

    /// Starts the cameras, on a thread of its own, while time passes.
    Error Start(const std::function<void()>& whenOff = nullptr,
                const std::function<void()>& meanwhile = nullptr) {
        m_whenOff = whenOff;
        m_firstImages = std::vector<FirstImage>(m_cameras.size());
        const std::vector<ImageCallback> callbacks(m_cameras.size(), &FirstImage::Take);
        std::vector<const void*> data;
        for (FirstImage& first : m_firstImages) {
            data.push_back(&first);
        }
        auto start = std::async(std::launch::async, [&] {
            return CameraInternal::StartSyncCapture(static_cast<unsigned int>(m_cameras.size()), m_cameras,
                                                    callbacks.data(), data.data());
        });
        while (start.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            LetTimePass();
            if (meanwhile) {
                meanwhile();
            }
        }
        m_whenOff = nullptr;
        return start.get();
    }

    /// When each camera's callback was given its first image after a start.
    std::vector<long long> AwaitFirstImages() {
        std::vector<long long> ticks;
        for (const FirstImage& first : m_firstImages) {
            EXPECT_TRUE(Await([&] {
                LetTimePass();
                return first.ticks >= 0;
            }));
            ticks.push_back(first.ticks);
        }
        return ticks;
    }

    boost::shared_ptr<Simulation> m_pSimulation;
    std::function<void()> m_whenOff;
    boost::mutex m_mutex;  ///< guards the clock and whether it runs
    bool m_isClockRunning = true;
    boost::shared_ptr<HardwareInterface> m_pLast;
    std::vector<FirstImage> m_firstImages;
    std::vector<boost::shared_ptr<CameraInternal>> m_cameras;  ///< use all of the above until they are gone
};

TEST_F(SyncStartTest, SixtyFourCamerasStartInStepAndStaySo) {
    Describe(R"(100, "count": 63)");
    ASSERT_TRUE(IsOk(Start()));
    const std::vector<long long> ticks = AwaitFirstImages();
    EXPECT_EQ(ticks, std::vector<long long>(64, ticks[0]));
}

TEST_F(SyncStartTest, FailsForTheReasonsOfLife) {
    const struct {
        const char* second;
        ErrorType result;
    } rows[] = {
        {R"(100, "faults": {"registers": {"writeLatencyUs": 625}})", ERR_OK},  // five cycles
        {R"(100, "faults": {"registers": {"writeLatencyUs": 750}})", ERR_ISOCH_SYNC_FAILED},
        {"50", ERR_ISOCH_SYNC_FAILED},
        {R"(100, "faults": {"registers": {"addresses": ["0x614"]}})", ERR_ISOCH_START_FAILED},
    };
    for (const auto& row : rows) {
        Describe(row.second);
        EXPECT_EQ(Start().GetType(), row.result) << row.second;
        EXPECT_EQ(m_cameras[0]->StopCapture() == ERR_OK, row.result != ERR_ISOCH_SYNC_FAILED) << row.second;
    }
}

TEST_F(SyncStartTest, EndsWhenACameraThatItWaitsForGoes) {
    Describe(R"(100, "faults": {"silent": {"frames": 4294967295, "starts": [2]}})");
    const auto pFirst = boost::static_pointer_cast<AccountedCamera>(m_cameras[0]);
    bool isGone = false;
    const Error error = Start(nullptr, [&] {
        const bool isFirstTaken = pFirst->GetAccount(*m_pSimulation).delivered > 10;  // those of draining
        if (isFirstTaken && !isGone) {
            isGone = true;
            EXPECT_TRUE(IsOk(m_pSimulation->Unplug(1002)));
        }
    });
    EXPECT_EQ(error, ERR_ISOCH_SYNC_FAILED);
    EXPECT_TRUE(isGone);
    EXPECT_EQ(pFirst->StopCapture(), ERR_INVALID_GENERATION);
}

// The first camera loses four of five frames, so that draining it takes long: the second one's ten buffers
// are full of old frames by then, and its frames are on their way for 30 ms, also when it is switched off.
TEST_F(SyncStartTest, NoOldFrameBecomesASyncImageNorDoesACallbackStayForTheNextStart) {
    Describe("100");
    long long onTicks = 0;
    const auto whenOff = [&] {
        EXPECT_TRUE(IsOk(m_pSimulation->SetFaults(1001, "{}")));
        EXPECT_TRUE(IsOk(m_pSimulation->SetFaults(1002, "{}")));
        m_pSimulation->AdvanceClock(100000);
        onTicks = ReadBusTicks(*m_pLast);
    };
    constexpr long long kPeriodTicks = 24576000 / 100;
    for (int start = 0; start < 2; ++start) {
        ASSERT_TRUE(IsOk(m_pSimulation->SetFaults(1001, R"({"drop": {"share": 0.8}})")));
        ASSERT_TRUE(IsOk(m_pSimulation->SetFaults(1002, R"({"delay": {"share": 1}, "delayUs": 30000})")));
        ASSERT_TRUE(IsOk(Start(whenOff)));
        // The start has taken the first frame after the switch-on, so that the callbacks get the second.
        EXPECT_EQ(AwaitFirstImages(), std::vector<long long>(2, onTicks + 2 * kPeriodTicks));
        EXPECT_TRUE(IsOk(m_cameras[0]->StopCapture()));
        EXPECT_TRUE(IsOk(m_cameras[1]->StopCapture()));
    }
}

}  // namespace
}  // namespace Zevrin
