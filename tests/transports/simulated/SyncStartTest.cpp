#include <algorithm>
#include <atomic>
#include <boost/thread/thread.hpp>
#include <string>
#include <vector>

#include "IidcCamera.h"
#include "Image.h"
#include "SimulatedFixture.h"
#include "zevrin/CameraSystem.h"

namespace Zevrin {
namespace {

using Cameras = std::vector<boost::shared_ptr<CameraInternal>>;

/// A hand-set clock that runs while cameras are to send, and stands still from the moment at which all have
/// been switched off until all are on again: what happens in between takes no time but the latency of the
/// writes.
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
                results[i] = CameraInternal::StartSyncCapture(static_cast<unsigned int>(cameras.size()),
                                                              cameras, nullptr, nullptr);
                --running;
            });
        }
        while (running > 0) {
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

    boost::shared_ptr<Simulation> m_pSimulation;
    CameraSystem m_system;
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
    };
    const Row rows[] = {
        {"nothing", "", ERR_OK},
        {"a write that takes five cycles", R"("faults": {"registers": {"writeLatencyUs": 625}})", ERR_OK},
        {"a write that takes six", R"("faults": {"registers": {"writeLatencyUs": 750}})",
         ERR_ISOCH_SYNC_FAILED},
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
            std::string(
                R"({"frameRate": 100, "width": 64, "height": 48, "paint": false}, {"frameRate": 100, )") +
            R"("width": 64, "height": 48, "paint": false)" + separator + row.keys + "}");
        EXPECT_EQ(Start().GetType(), row.result);
        EXPECT_EQ(Streams(*m_cameras[0]), row.result == ERR_OK || row.result == ERR_ISOCH_START_FAILED);
        m_cameras.clear();
        m_pSimulation.reset();
    }
}

TEST_F(SyncStartTest, AcceptsACameraThatStreamsAlready) {
    Describe(std::string(R"({"count": 2, "frameRate": 100, )") + kSmall + "}");
    ASSERT_TRUE(IsOk(m_cameras[1]->StartCapture(nullptr, nullptr)));
    EXPECT_TRUE(IsOk(Start()));
}

}  // namespace
}  // namespace Zevrin
