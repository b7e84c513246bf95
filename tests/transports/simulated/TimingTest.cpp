#include <cmath>
#include <future>

#include "SimulatedFixture.h"

namespace Zevrin {
namespace {

constexpr unsigned int kTicksPerCycle = 3072;

TEST(SimulatedTiming, SwitchingOffWaitsForTheFrameThatIsOnItsWay) {
    const auto pSimulation =
        MakeSimulation(R"({"clock": "manual", "cameras": [{"faults": {"corrupt": {"frames": [1]}}}]})");
    const auto pCamera = OpenCamera(1001);
    Listening stream(*pCamera);
    std::future<void> off;
    stream.Queue().SetFreeListener([&] {  // while an incomplete frame lands
        off = std::async(std::launch::async, [&] { WriteCommand(*pCamera, kTransmissionRegister, 0); });
        EXPECT_EQ(off.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout)
            << "a frame lands after the write has returned";
    });
    WriteCommand(*pCamera, kTransmissionRegister, kOn);
    pSimulation->AdvanceClock(100000);
    stream.Queue().SetFreeListener(nullptr);
    off.get();
    EXPECT_EQ(stream.Counters().corrupt, 1U);
}

// Two cameras at 100 frames/s are switched on one after the other, each write a moment of no length unless
// the description says otherwise. Cycles are 125 us.
TEST(SimulatedTiming, IsEachCamerasOwn) {
    const struct {
        const char* second;          // of the cameras
        std::vector<double> cycles;  // its frames after those of the first
    } table[] = {
        {R"("frameRate": 100)", {0, 0, 0, 0}},
        {R"("frameRate": 100, "faults": {"registers": {"writeLatencyUs": 1250}})", {10, 10, 10, 10}},
        {R"("frameRate": 100, "faults": {"registers": {"readLatencyUs": 1250}})", {0, 0, 0}},
        {R"("frameRate": 100, "exposureUs": 60)", {0, 0, 0, 0}},
        {R"("frameRate": 80)", {20, 40, 60, 80}},
        {R"("frameRate": 100, "clockErrorPpm": -10000)", {0.808, 1.616, 2.424}},
        {R"("frameRate": 100, "clockErrorPpm": 10000)", {-0.792, -1.584, -2.376}},
        {R"("frameRate": 100, "faults": {"silent": {"frames": 2}})", {160, 160, 160}},
        {R"("frameRate": 100, "faults": {"silent": {"frames": 2, "starts": [2]}})", {0, 0, 0}},
        {R"("frameRate": 100, "faults": {"silent": {"frames": 4294967295, "starts": [2, 1]}})", {}},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.second);
        const auto pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{"frameRate": 100}, {)" +
                                                std::string(row.second) + "}]}");
        const boost::shared_ptr<HardwareInterface> cameras[] = {OpenCamera(1001), OpenCamera(1002)};
        Listening streams[] = {Listening(*cameras[0]), Listening(*cameras[1])};
        std::vector<unsigned int> stamps[2];
        WriteCommand(*cameras[0], 0x12F8, 1);
        WriteCommand(*cameras[1], 0x12F8, 1);
        WriteCommand(*cameras[0], kTransmissionRegister, kOn);  // what was before has no say
        pSimulation->AdvanceClock(3000);
        WriteCommand(*cameras[0], kTransmissionRegister, 0);
        WriteCommand(*cameras[0], kTransmissionRegister, kOn);
        WriteCommand(*cameras[1], kTransmissionRegister, kOn);
        pSimulation->AdvanceClock(100000);
        for (int index = 0; index < 2; ++index) {
            streams[index].Drain([&](const Frame& frame) { stamps[index].push_back(ReadStamp(frame)); });
        }
        ASSERT_GE(stamps[0].size(), row.cycles.size());
        EXPECT_EQ(stamps[1].empty(), row.cycles.empty());
        ASSERT_GE(stamps[1].size(), row.cycles.size());
        for (std::size_t index = 0; index < row.cycles.size(); ++index) {
            const double ticks = static_cast<int>(stamps[1][index] - stamps[0][index]);
            EXPECT_NEAR(ticks / kTicksPerCycle, row.cycles[index], 0.01) << "frame " << index;
        }
    }
}

TEST(SimulatedTiming, BusesMoveTogether) {
    const auto pSimulation = MakeSimulation(
        R"({"clock": "manual", "buses": [{"cameras": [{"interface": "u3v", "frameRate": 70}]},
            {"cameras": [{"interface": "u3v", "frameRate": 300}]}]})");
    const boost::shared_ptr<HardwareInterface> cameras[] = {OpenCamera(1001), OpenCamera(1002)};
    struct : EventSink {
        void OnDeviceEvent(const RawDeviceEvent& event) override {
            EXPECT_EQ(ReadBusTicks(*pFirst) / kTicksPerCycle, event.timeStampNs / 125000);
            ++count;
        }
        boost::shared_ptr<HardwareInterface> pFirst;
        unsigned int count = 0;
    } witness;
    witness.pFirst = cameras[0];
    for (const auto& pCamera : cameras) {
        ASSERT_TRUE(IsOk(pCamera->SetEventSink(&witness)));
        WriteCommand(*pCamera, kTransmissionRegister, kOn);
    }
    pSimulation->AdvanceClock(kSecond);
    EXPECT_GT(witness.count, 3 * 360U);
    for (const auto& pCamera : cameras) {
        ASSERT_TRUE(IsOk(pCamera->SetEventSink(nullptr)));
    }
}

TEST(SimulatedTiming, LatencyMovesAClockThatIsSetByHand) {
    const auto pSimulation = MakeSimulation(
        R"({"clock": "manual", "buses": [{"cameras": [{}]}, {"cameras": [{"frameRate": 100}]}]})");
    const auto pCamera = OpenCamera(1001);
    const auto pOther = OpenCamera(1002);
    Listening stream(*pOther);
    WriteCommand(*pOther, kTransmissionRegister, kOn);
    SimulatedTiming timing;
    timing.readLatencyUs = 1000;
    timing.writeLatencyUs = 20000;
    timing.jitterUs = 1000;
    ASSERT_TRUE(IsOk(pSimulation->SetTiming(1001, timing)));
    std::vector<unsigned int> cycles;  // each write took, rounded up
    for (int count = 0; count < 100; ++count) {
        const unsigned int before = ReadBusTicks(*pCamera);
        WriteCommand(*pCamera, 0x600, 0);
        cycles.push_back((ReadBusTicks(*pCamera) - before + kTicksPerCycle - 1) / kTicksPerCycle);
    }
    const auto [shortest, longest] = std::minmax_element(cycles.begin(), cycles.end());
    EXPECT_LE(*shortest - 20 * 8, 1U) << "the latency alone";
    EXPECT_EQ(*longest, 21 * 8U) << "and all of the jitter";
    EXPECT_GE(stream.Drain(), 60U) << "the other bus has gone on meanwhile";

    timing.jitterUs = 0;
    ASSERT_TRUE(IsOk(pSimulation->SetTiming(1001, timing)));
    const unsigned int before = ReadBusTicks(*pOther);
    ReadCommand(*pCamera, 0x600);
    EXPECT_EQ(ReadBusTicks(*pOther) - before, 8 * kTicksPerCycle);

    for (const double error : {1e5, -10001.0, std::nan("")}) {
        timing.clockErrorPpm = error;
        EXPECT_EQ(pSimulation->SetTiming(1001, timing), ERR_VALUE_OUT_OF_RANGE) << error;
    }
    timing = SimulatedTiming();
    timing.jitterUs = 10000001;
    EXPECT_EQ(pSimulation->SetTiming(1001, timing), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(pSimulation->SetTiming(5, SimulatedTiming()), ERR_CAMERA_NOT_FOUND);
}

TEST(SimulatedTiming, LatencyIsWaitedForOnTheRealClock) {
    const auto pSimulation =
        MakeSimulation(R"({"cameras": [{"faults": {"registers": {"writeLatencyUs": 3000}}}]})");
    const auto pCamera = OpenCamera(1001);
    const unsigned int before = ReadBusTicks(*pCamera);
    WriteCommand(*pCamera, 0x600, 0);
    EXPECT_GE(ReadBusTicks(*pCamera) - before, 3 * 8 * kTicksPerCycle);
}

}  // namespace
}  // namespace Zevrin
