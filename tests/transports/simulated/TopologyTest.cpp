#include "BusMaster.h"
#include "SimulatedFixture.h"

namespace Zevrin {
namespace {

constexpr const char* kTwoBuses =
    R"({"clock": "manual", "buses": [{"cameras": [{}, {}]}, {"cameras": [{}]}]})";

TEST(SimulatedTopology, ABusSharesBroadcastsAndTime) {
    const auto pSimulation = MakeSimulation(kTwoBuses);
    const auto pFirst = OpenCamera(1001);
    const auto pSecond = OpenCamera(1002);
    const unsigned int value = 0x20000000;
    ASSERT_TRUE(IsOk(pFirst->WriteQuadlets(kRegisterSpace, kCommandBase + 0x600, &value, 1, true)));
    EXPECT_EQ(ReadCommand(*pFirst, 0x600), value);
    EXPECT_EQ(ReadCommand(*pSecond, 0x600), value) << "a broadcast reaches every camera of the bus";
    EXPECT_EQ(ReadCommand(*OpenCamera(1003), 0x600), 0x60000000U) << "another bus";

    pSimulation->AdvanceClock(127 * kSecond + 1125);
    EXPECT_EQ(ReadBusTicks(*pSecond), (127 * 8000 + 9) * 3072U);
    pSimulation->AdvanceClock(kSecond + 10);
    EXPECT_EQ(ReadBusTicks(*pFirst), 9 * 3072U + 245) << "wraps after 128 s";
    EXPECT_EQ(ReadCommand(*pFirst, 0xF0000200 - kCommandBase), 9U << 12 | 245U);
    TimeStamp stamp;
    ASSERT_TRUE(IsOk(pFirst->GetBusTime(&stamp)));
    EXPECT_GT(stamp.seconds, 1600000000);

    for (int count = 0; count < 20; ++count) {
        pSimulation->AdvanceClock(~0ULL);
    }
    const unsigned int end = ReadBusTicks(*pFirst);
    pSimulation->AdvanceClock(kSecond);
    EXPECT_EQ(ReadBusTicks(*pFirst), end) << "a clock that is set by hand ends instead of wrapping";
}

TEST(SimulatedTopology, ChangesRaiseGenerations) {
    const auto pSimulation = MakeSimulation(kTwoBuses);
    BusMaster busMaster;
    std::vector<CameraIdentity> cameras;
    const struct {
        Error (Simulation::*change)(unsigned int);
        unsigned int serialNumber;
        std::vector<unsigned int> raised;  ///< by how much, of each camera
        std::size_t present;
    } table[] = {
        {&Simulation::ResetBus, 1002, {1, 1, 0}, 3}, {&Simulation::Unplug, 1001, {1, 1, 0}, 2},
        {&Simulation::Unplug, 1001, {0, 0, 0}, 2},   {&Simulation::Replug, 1001, {1, 1, 0}, 3},
        {&Simulation::ResetBus, 1003, {0, 0, 1}, 3},
    };
    ASSERT_TRUE(IsOk(busMaster.GetCameras(&cameras)));
    std::vector<unsigned int> before(3, 1);
    for (const auto& row : table) {
        EXPECT_TRUE(IsOk((*pSimulation.*row.change)(row.serialNumber)));
        EXPECT_EQ((*pSimulation.*row.change)(5), ERR_CAMERA_NOT_FOUND);
        for (unsigned int index = 0; index < 3; ++index) {
            const unsigned int now = busMaster.GetGeneration(1001 + index);
            EXPECT_EQ(now - before[index], row.raised[index]) << &row - table << ", camera " << index;
            before[index] = now;
        }
        ASSERT_TRUE(IsOk(busMaster.GetCameras(&cameras)));
        EXPECT_EQ(cameras.size(), row.present);
    }
}

TEST(SimulatedTopology, AnUnpluggedCameraIsLostAndComesBackPoweredUpAnew) {
    const auto pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{}, {}]})");
    const auto pCamera = OpenCamera(1001);
    WriteCommand(*pCamera, 0x600, 0x20000000);
    WriteCommand(*pCamera, kTransmissionRegister, kOn);
    unsigned int value = 0;
    TimeStamp stamp;
    StreamFormat format;
    const auto expectAll = [&](ErrorType expected) {
        EXPECT_EQ(pCamera->ReadQuadlets(kRegisterSpace, kCommandBase, &value, 1), expected);
        EXPECT_EQ(pCamera->WriteQuadlets(kRegisterSpace, kCommandBase, &value, 1, false), expected);
        EXPECT_EQ(pCamera->GetBusTime(&stamp), expected);
        EXPECT_EQ(pCamera->GetPortErrors(&value), expected);
        EXPECT_EQ(pCamera->GetStreamFormat(&format), expected);
    };
    ASSERT_TRUE(IsOk(pSimulation->Unplug(1001)));
    expectAll(ERR_CAMERA_LOST);
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
    auto pBusMaster = std::make_unique<BusMaster>();
    auto pSimulation =
        MakeSimulation(R"({"clock": "manual", "cameras": [{"serial": 20}, {"serial": 21, "model": "old"}]})");
    boost::shared_ptr<HardwareInterface> pCamera;
    ASSERT_TRUE(IsOk(pBusMaster->AcquireHardware(21, &pCamera)));
    ASSERT_TRUE(IsOk(pCamera->Open()));
    Listening stream(*pCamera);
    WriteCommand(*pCamera, kTransmissionRegister, kOn);
    pSimulation->AdvanceClock(kSecond);
    const unsigned int generation = pBusMaster->GetGeneration(21);

    pSimulation.reset();
    EXPECT_GT(pBusMaster->GetGeneration(21), generation);
    EXPECT_EQ(stream.Drain(), 14U) << "what arrived before can still be had";
    Frame* pFrame = nullptr;
    EXPECT_EQ(stream.Queue().Retrieve(&pFrame, kTimeoutInfinite), ERR_CAMERA_LOST);
    EXPECT_EQ(pCamera->Open(), ERR_CAMERA_LOST);
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
    EXPECT_EQ(pCamera->Open(), ERR_CAMERA_LOST);
}

}  // namespace
}  // namespace Zevrin
