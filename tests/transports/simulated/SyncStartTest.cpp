#include <algorithm>
#include <atomic>
#include <boost/thread/thread.hpp>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "IidcCamera.h"
#include "Image.h"
#include "SimulatedFixture.h"
#include "zevrin/CameraSystem.h"

namespace Zevrin {
namespace {

using Cameras = std::vector<boost::shared_ptr<CameraInternal>>;

/// The first image that a camera's callback gets, as ticks of the bus clock.
struct FirstImage {
    static void Take(Image* pImage, const void* pData) {
        long long none = -1;
        static_cast<FirstImage*>(const_cast<void*>(pData))
            ->ticks.compare_exchange_strong(none, TicksOf(pImage->GetTimeStamp()));
    }
    static long long TicksOf(const TimeStamp& stamp) {
        return (stamp.cycleSeconds * 8000LL + stamp.cycleCount) * 3072 + stamp.cycleOffset;
    }
    std::atomic<long long> ticks{-1};
};

/// A hand-set clock that runs while cameras are to send, and stands still from the moment at which all have
/// been switched off until all are on again: what happens in between takes no time but the latency of the
/// writes and what `m_whenOff` lets pass at once.
class SyncStartTest : public testing::Test {
  protected:
    void Describe(const std::string& cameras) {
        m_pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [)" + cameras + "]}");
        std::vector<CameraListing> listings;
        ASSERT_TRUE(IsOk(m_system.List(&listings)));
        for (const CameraListing& listing : listings) {
            boost::shared_ptr<IidcCamera> pCamera;
            ASSERT_TRUE(IsOk(m_system.Connect(listing.serialNumber, &pCamera)));
            m_cameras.push_back(pCamera);
        }
    }

    static bool AllTransmit(const Cameras& cameras, bool isOn) {
        return std::all_of(cameras.begin(), cameras.end(), [isOn](const auto& pCamera) {
            unsigned int value = 0;
            return pCamera->ReadRegister(kTransmissionRegister, &value) == ERR_OK && (value != 0) == isOn;
        });
    }

    /// One synchronized start, as an onlooker sees it.
    struct Group {
        bool HasClockStanding() {
            m_wasOn = m_wasOn || AllTransmit(m_cameras, true);
            m_isOff = m_wasOn && !m_isOnAgain && (m_isOff || AllTransmit(m_cameras, false));
            m_isOnAgain = m_isOnAgain || (m_isOff && AllTransmit(m_cameras, true));
            return m_isOff && !m_isOnAgain;
        }
        Cameras m_cameras;
        bool m_wasOn = false;
        bool m_isOff = false;
        bool m_isOnAgain = false;
    };

    /// Starts the groups, each on a thread of its own and all at once, while time passes.
    std::vector<Error> StartTogether(std::vector<Group> groups) {
        std::vector<Error> results(groups.size());
        std::atomic<std::size_t> running{groups.size()};
        boost::thread_group threads;
        for (std::size_t i = 0; i < groups.size(); ++i) {
            threads.create_thread([&, i] {
                const Cameras& cameras = groups[i].m_cameras;
                const std::vector<ImageCallback> callbacks(cameras.size(), &FirstImage::Take);
                std::vector<const void*> data;
                for (FirstImage& first : m_firstImages) {
                    data.push_back(&first);
                }
                results[i] = CameraInternal::StartSyncCapture(
                    static_cast<unsigned int>(cameras.size()), cameras,
                    data.empty() ? nullptr : callbacks.data(), data.empty() ? nullptr : data.data());
                --running;
            });
        }
        bool wasOff = false;
        while (running > 0) {
            const bool isOff = groups.front().m_isOff;
            if (isOff && !wasOff && m_whenOff) {
                m_whenOff();
            }
            wasOff = isOff;
            if (std::none_of(groups.begin(), groups.end(),
                             [](Group& group) { return group.HasClockStanding(); })) {
                m_pSimulation->AdvanceClock(1000);
            }
            boost::this_thread::yield();
        }
        threads.join_all();
        return results;
    }

    Error Start() { return StartTogether({Group{m_cameras}}).front(); }

    static bool Streams(CameraInternal& camera) { return camera.StopCapture() == ERR_OK; }

    /// Starts the cameras once more and tells when each one's callback was given its first image.
    Error StartAndAwaitFirstImages(std::vector<long long>* pTicks) {
        m_firstImages = std::vector<FirstImage>(m_cameras.size());
        const Error error = Start();
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        pTicks->clear();
        for (const FirstImage& first : m_firstImages) {
            while (error == ERR_OK && first.ticks < 0 && std::chrono::steady_clock::now() < deadline) {
                m_pSimulation->AdvanceClock(1000);
                boost::this_thread::yield();
            }
            pTicks->push_back(first.ticks);
        }
        return error;
    }

    boost::shared_ptr<Simulation> m_pSimulation;
    CameraSystem m_system;
    std::vector<FirstImage> m_firstImages;  ///< filled by callbacks when there is one for each camera
    std::function<void()> m_whenOff;
    Cameras m_cameras;
};

constexpr char kSmall[] = R"("width": 64, "height": 48, "paint": false, "exposureUs": 1000)";

TEST_F(SyncStartTest, SixtyFourCamerasStartInStepAndStaySo) {
    Describe(std::string(R"({"count": 64, "frameRate": 200, )") + kSmall + "}");
    ASSERT_EQ(m_cameras.size(), 64U);
    ASSERT_TRUE(IsOk(Start()));
    TimeStamp first;
    for (const auto& pCamera : m_cameras) {
        Image image;
        m_pSimulation->AdvanceClock(5000);
        ASSERT_TRUE(IsOk(pCamera->RetrieveBuffer(&image)));
        const TimeStamp stamp = image.GetTimeStamp();
        first = pCamera == m_cameras.front() ? stamp : first;
        EXPECT_EQ(stamp.cycleSeconds * 8000 + stamp.cycleCount, first.cycleSeconds * 8000 + first.cycleCount);
    }
}

// Two groups on disjoint cameras, of which the first is at 200 frames a second.
TEST_F(SyncStartTest, TwoStartsAtOnceOnDisjointCameras) {
    Describe(std::string(R"({"count": 2, "frameRate": 200, )") + kSmall +
             R"(}, {"count": 4, "frameRate": 100, )" + kSmall + "}");
    ASSERT_EQ(m_cameras.size(), 6U);
    const std::vector<Error> results = StartTogether(
        {Group{{m_cameras.begin(), m_cameras.begin() + 2}}, Group{{m_cameras.begin() + 2, m_cameras.end()}}});
    EXPECT_TRUE(IsOk(results[0]));
    EXPECT_TRUE(IsOk(results[1]));
    for (const auto& pCamera : m_cameras) {
        EXPECT_TRUE(Streams(*pCamera));
    }
}

TEST_F(SyncStartTest, FailsForTheReasonsOfLife) {
    struct Row {
        const char* what;
        const char* keys;  ///< of the second of two cameras at 100 frames a second
        ErrorType result;
        const char* frameRate = "100";
    };
    const Row rows[] = {
        {"nothing", "", ERR_OK},
        {"a write that takes five cycles", R"("faults": {"registers": {"writeLatencyUs": 625}})", ERR_OK},
        {"a write that takes six", R"("faults": {"registers": {"writeLatencyUs": 750}})",
         ERR_ISOCH_SYNC_FAILED},
        {"writes that take up to five", R"("faults": {"registers": {"writeLatencyUs": 99, "jitterUs": 500}})",
         ERR_OK},
        {"writes that take anything up to 300 ms", R"("faults": {"registers": {"jitterUs": 300000}})",
         ERR_ISOCH_SYNC_FAILED},
        {"another frame rate", "", ERR_ISOCH_SYNC_FAILED, "50"},
        {"another exposure", R"("exposureUs": 60)", ERR_OK},
        {"an oscillator that is 80 per cent of a cycle late", R"("clockErrorPpm": -10000)", ERR_OK},
        {"a frame more before the first", R"("faults": {"silent": {"frames": 1, "starts": [2]}})",
         ERR_ISOCH_SYNC_FAILED},
        {"the wrong interface", R"("interface": "gige")", ERR_NOT_SUPPORTED},
        {"no transmission", R"("faults": {"registers": {"addresses": ["0x614"]}})", ERR_ISOCH_START_FAILED},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        m_cameras.clear();
        const std::string separator = *row.keys != '\0' ? ", " : "";
        Describe(
            std::string(R"({"frameRate": 100, "width": 64, "height": 48, "paint": false}, {"frameRate": )") +
            row.frameRate + R"(, "width": 64, "height": 48, "paint": false)" + separator + row.keys + "}");
        EXPECT_EQ(Start().GetType(), row.result);
        EXPECT_EQ(Streams(*m_cameras[0]), row.result == ERR_OK || row.result == ERR_ISOCH_START_FAILED);
        m_cameras.clear();
        m_pSimulation.reset();
    }
}

// With more buffers, old frames would still wait after ten had been drained.
TEST_F(SyncStartTest, AcceptsACameraThatStreamsAlreadyWithTenBuffers) {
    Describe(std::string(R"({"count": 2, "frameRate": 100, )") + kSmall + "}");
    for (const unsigned int buffers : {30U, 10U}) {
        ZevrinConfig config;
        config.numBuffers = buffers;
        ASSERT_TRUE(IsOk(m_cameras[1]->SetConfiguration(&config)));
        ASSERT_TRUE(IsOk(m_cameras[1]->StartCapture(nullptr, nullptr)));
        const Error error =
            buffers == 10 ? Start() : CameraInternal::StartSyncCapture(2, m_cameras, nullptr, nullptr);
        EXPECT_EQ(error, buffers == 10 ? ERR_OK : ERR_ISOCH_FAILED);
        EXPECT_EQ(error.GetCause(), buffers == 10 ? ERR_OK : ERR_ISOCH_ALREADY_STARTED);
        EXPECT_TRUE(Streams(*m_cameras[1]));
    }
}

// The first camera loses four of five frames, so that draining it takes long: the second one's ten buffers
// are full of old frames by then, and its frames are on their way for 30 ms, also when it is switched off.
TEST_F(SyncStartTest, NoOldFrameBecomesASyncImageNorDoesACallbackStayForTheNextStart) {
    Describe(std::string(R"({"frameRate": 200, "serial": 1, )") + kSmall +
             R"(}, {"frameRate": 200, "serial": 2, )" + kSmall + "}");
    long long onTicks = 0;
    m_whenOff = [&] {
        ASSERT_TRUE(IsOk(m_pSimulation->SetFaults(1, "{}")));
        ASSERT_TRUE(IsOk(m_pSimulation->SetFaults(2, "{}")));
        m_pSimulation->AdvanceClock(100000);
        TimeStamp now;
        ASSERT_TRUE(IsOk(m_cameras[0]->GetCycleTime(&now)));
        onTicks = FirstImage::TicksOf(now);
    };
    constexpr long long kPeriodTicks = 24576000 / 200;
    for (int start = 0; start < 2; ++start) {
        std::vector<long long> firstTicks;
        Error error;
        int attempt = 0;
        do {  // a machine that is busy for half a second lets time pass between the writes
            ASSERT_TRUE(IsOk(m_pSimulation->SetFaults(1, R"({"drop": {"share": 0.8}})")));
            ASSERT_TRUE(IsOk(m_pSimulation->SetFaults(2, R"({"delay": {"share": 1}, "delayUs": 30000})")));
            error = StartAndAwaitFirstImages(&firstTicks);
        } while (error == ERR_ISOCH_SYNC_FAILED && ++attempt < 5);
        ASSERT_TRUE(IsOk(error));
        // The start has taken the first frame after the switch-on, so that the callbacks get the second.
        EXPECT_EQ(firstTicks, std::vector<long long>(2, onTicks + 2 * kPeriodTicks));
        EXPECT_TRUE(Streams(*m_cameras[0]));
        EXPECT_TRUE(Streams(*m_cameras[1]));
    }
}

}  // namespace
}  // namespace Zevrin
