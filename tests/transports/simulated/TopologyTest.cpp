#include <boost/thread/thread.hpp>

#include "BusMaster.h"
#include "SimulatedFixture.h"

namespace Zevrin {
namespace {

std::unique_ptr<BusMaster> MakeBusMaster() {
    std::vector<std::unique_ptr<Transport>> transports;
    transports.push_back(std::make_unique<SimulatedTransport>());
    return std::make_unique<BusMaster>(std::move(transports));
}

constexpr const char* kTwoBuses =
    R"({"clock": "manual", "buses": [{"cameras": [{}, {}]}, {"cameras": [{}]}]})";

TEST(SimulatedTopology, ChangesRaiseGenerations) {
    const auto pSimulation = MakeSimulation(kTwoBuses);
    const auto pBusMaster = MakeBusMaster();
    std::vector<CameraIdentity> cameras;
    ASSERT_TRUE(IsOk(pBusMaster->GetCameras(&cameras)));
    ASSERT_EQ(cameras.size(), 3U);
    unsigned int before[] = {1, 1, 1};
    const auto expectRaised = [&](const char* what, const std::vector<bool>& expected) {
        for (unsigned int index = 0; index < 3; ++index) {
            const unsigned int now = pBusMaster->GetGeneration(1001 + index);
            EXPECT_EQ(now > before[index], expected[index]) << what << ", camera " << index;
            before[index] = now;
        }
    };
    ASSERT_TRUE(IsOk(pSimulation->ResetBus(1002)));
    expectRaised("reset", {true, true, false});
    ASSERT_TRUE(IsOk(pSimulation->Unplug(1001)));
    expectRaised("unplug", {true, true, false});
    ASSERT_TRUE(IsOk(pSimulation->Unplug(1001)));
    expectRaised("unplug again", {false, false, false});
    ASSERT_TRUE(IsOk(pBusMaster->GetCameras(&cameras)));
    EXPECT_EQ(cameras.size(), 2U);
    ASSERT_TRUE(IsOk(pSimulation->Replug(1001)));
    expectRaised("replug", {true, true, false});
    ASSERT_TRUE(IsOk(pSimulation->ResetBus(1003)));
    expectRaised("the other bus", {false, false, true});
    EXPECT_EQ(pSimulation->Unplug(5).GetType(), ERR_CAMERA_NOT_FOUND);
    EXPECT_EQ(pSimulation->Replug(5).GetType(), ERR_CAMERA_NOT_FOUND);
    EXPECT_EQ(pSimulation->ResetBus(5).GetType(), ERR_CAMERA_NOT_FOUND);
}

TEST(SimulatedTopology, AnUnpluggedCameraIsLostAndComesBackPoweredUpAnew) {
    const auto pSimulation = MakeSimulation(kTwoBuses);
    const auto pCamera = OpenCamera(1001);
    WriteCommand(*pCamera, 0x600, 0x20000000);
    Listening stream(*pCamera);
    WriteCommand(*pCamera, kTransmissionRegister, kOn);
    pSimulation->AdvanceClock(kSecond);
    ASSERT_TRUE(IsOk(pSimulation->Unplug(1001)));
    EXPECT_EQ(stream.Drain(), 14U) << "what arrived before can still be had";
    Frame* pFrame = nullptr;
    EXPECT_EQ(stream.Queue().Retrieve(&pFrame, kTimeoutInfinite).GetType(), ERR_CAMERA_LOST);

    unsigned int value = 0;
    TimeStamp stamp;
    StreamFormat format;
    const auto expectAll = [&](ErrorType expected) {
        EXPECT_EQ(pCamera->ReadQuadlets(kRegisterSpace, kCommandBase, &value, 1).GetType(), expected);
        EXPECT_EQ(pCamera->WriteQuadlets(kRegisterSpace, kCommandBase, &value, 1, false).GetType(), expected);
        EXPECT_EQ(pCamera->GetBusTime(&stamp).GetType(), expected);
        EXPECT_EQ(pCamera->GetPortErrors(&value).GetType(), expected);
        EXPECT_EQ(pCamera->GetStreamFormat(&format).GetType(), expected);
    };
    expectAll(ERR_CAMERA_LOST);
    EXPECT_EQ(pCamera->Open().GetType(), ERR_CAMERA_LOST);
    ASSERT_TRUE(IsOk(pSimulation->Replug(1001)));
    expectAll(ERR_CAMERA_LOST);  // until it is opened again
    ASSERT_TRUE(IsOk(pCamera->Open()));
    expectAll(ERR_OK);
    EXPECT_EQ(ReadCommand(*pCamera, 0x600), 0x60000000U);
    EXPECT_EQ(ReadCommand(*pCamera, kTransmissionRegister), 0U);
    pCamera->Close();
    pCamera->Close();
    expectAll(ERR_NOT_CONNECTED);
}

TEST(SimulatedTopology, HandlesOutliveEverythingAndServeTheNextSimulation) {
    auto pBusMaster = MakeBusMaster();
    auto pSimulation =
        MakeSimulation(R"({"cameras": [{"serial": 20}, {"serial": 21, "model": "old", "frameRate": 500}]})");
    boost::shared_ptr<HardwareInterface> pCamera;
    ASSERT_TRUE(IsOk(pBusMaster->AcquireHardware(21, &pCamera)));
    ASSERT_TRUE(IsOk(pCamera->Open()));
    Listening stream(*pCamera, 8, GRAB_NEWEST);
    WriteCommand(*pCamera, kTransmissionRegister, kOn);
    const unsigned int generation = pBusMaster->GetGeneration(21);

    pSimulation.reset();
    EXPECT_GT(pBusMaster->GetGeneration(21), generation);
    stream.Drain();
    Frame* pFrame = nullptr;
    EXPECT_EQ(stream.Queue().Retrieve(&pFrame, kTimeoutInfinite).GetType(), ERR_CAMERA_LOST);
    unsigned int value = 0;
    EXPECT_EQ(pCamera->ReadQuadlets(kRegisterSpace, kCommandBase, &value, 1).GetType(), ERR_CAMERA_LOST);
    stream.Stop();

    pSimulation = MakeSimulation(R"({"cameras": [{"serial": 21, "model": "new"}]})");
    boost::shared_ptr<HardwareInterface> pAgain;
    ASSERT_TRUE(IsOk(pBusMaster->AcquireHardware(21, &pAgain)));
    EXPECT_EQ(pAgain, pCamera);
    EXPECT_EQ(pAgain->GetIdentity().modelName, "new");
    EXPECT_TRUE(pBusMaster->GetDuplicates().empty());

    pBusMaster.reset();
    EXPECT_TRUE(IsOk(pCamera->Open()));
    pSimulation.reset();
    EXPECT_EQ(pCamera->Open().GetType(), ERR_CAMERA_LOST);
}

// For the thread sanitizer: everything at once, on real clocks.
TEST(SimulatedTopology, StandsManyThreads) {
    const auto pSimulation = MakeSimulation(
        R"({"cameras": [{"serial": 41, "count": 4, "width": 64, "height": 48, "frameRate": 1000}]})");
    const auto pBusMaster = MakeBusMaster();
    std::atomic<bool> isDone{false};
    boost::thread_group threads;
    for (unsigned int serial = 41; serial < 45; ++serial) {
        boost::shared_ptr<HardwareInterface> pCamera;
        ASSERT_TRUE(IsOk(pBusMaster->AcquireHardware(serial, &pCamera)));
        threads.create_thread([&isDone, pCamera] {
            while (!isDone) {
                Error error = pCamera->Open();
                // Gone as soon as the stream has stopped: nobody may write to it any more.
                std::vector<unsigned char> memory(3 * 64 * 48);
                const auto pQueue = boost::make_shared<FrameQueue>(
                    3, 64 * 48, GRAB_IN_ORDER, false, memory.data(), boost::make_shared<FrameCounters>());
                error = pCamera->StartStream(ZevrinConfig(), pQueue);
                const unsigned int on = kOn;
                error = pCamera->WriteQuadlets(kRegisterSpace, kCommandBase + kTransmissionRegister, &on, 1,
                                               false);
                Frame* pFrame = nullptr;
                for (int count = 0; count < 5 && pQueue->Retrieve(&pFrame, 100) == ERR_OK; ++count) {
                    pQueue->Release(pFrame);
                }
                pCamera->StopStream(pQueue);
                pCamera->Close();
            }
        });
    }
    for (int round = 0; round < 100; ++round) {
        EXPECT_TRUE(IsOk(pSimulation->Unplug(41)));
        EXPECT_TRUE(IsOk(pSimulation->ResetBus(42)));
        EXPECT_TRUE(IsOk(pSimulation->Replug(41)));
        EXPECT_TRUE(IsOk(pSimulation->SetFaults(43, R"({"drop": {"share": 0.5}})")));
        boost::this_thread::yield();
    }
    EXPECT_TRUE(Await([&] {
        SimulatedFrameCounts counts;
        return pSimulation->GetFrameCounts(44, &counts) == ERR_OK && counts.sent >= 20;
    }));
    isDone = true;
    threads.join_all();
}

}  // namespace
}  // namespace Zevrin
