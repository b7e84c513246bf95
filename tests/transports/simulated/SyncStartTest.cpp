#include <boost/thread/thread.hpp>

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

    bool AllTransmit(bool isOn) const {
        return std::all_of(m_cameras.begin(), m_cameras.end(), [isOn](const auto& pCamera) {
            unsigned int value = 0;
            return pCamera->ReadRegister(kTransmissionRegister, &value) == ERR_OK && (value != 0) == isOn;
        });
    }

    /// Starts the cameras, on a thread of its own, while time passes.
    Error Start() {
        Error result;
        std::atomic<bool> isRunning{true};
        boost::thread starter([&] {
            const std::vector<ImageCallback> callbacks(m_cameras.size(), &FirstImage::Take);
            std::vector<const void*> data;
            for (FirstImage& first : m_firstImages) {
                data.push_back(&first);
            }
            result = CameraInternal::StartSyncCapture(static_cast<unsigned int>(m_cameras.size()), m_cameras,
                                                      data.empty() ? nullptr : callbacks.data(),
                                                      data.empty() ? nullptr : data.data());
            isRunning = false;
        });
        enum { kNeverOn, kOnForDraining, kOff, kOnAgain } state = kNeverOn;
        while (isRunning) {
            if ((state == kNeverOn || state == kOff) && AllTransmit(true)) {
                state = state == kOff ? kOnAgain : kOnForDraining;
            } else if (state == kOnForDraining && AllTransmit(false)) {
                state = kOff;
                if (m_whenOff) {
                    m_whenOff();
                }
            }
            if (state != kOff) {
                m_pSimulation->AdvanceClock(1000);
            }
            boost::this_thread::yield();
        }
        starter.join();
        return result;
    }

    static bool Streams(CameraInternal& camera) { return camera.StopCapture() == ERR_OK; }

    /// Starts the cameras once more and tells when each one's callback was given its first image.
    Error StartAndAwaitFirstImages(std::vector<long long>* pTicks) {
        m_firstImages = std::vector<FirstImage>(m_cameras.size());
        const Error error = Start();
        pTicks->clear();
        for (const FirstImage& first : m_firstImages) {
            EXPECT_TRUE(error != ERR_OK || Await([&] {
                            m_pSimulation->AdvanceClock(1000);
                            return first.ticks >= 0;
                        }));
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
