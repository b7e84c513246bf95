#include "SimulatedFixture.h"

namespace Zevrin {
namespace {

TEST(SimulatedFaults, EveryFrameIsAccountedFor) {
    const struct {
        const char* faults;
        unsigned int sent;  // of 100 frames exposed
        unsigned int delivered;
        unsigned int corrupt;
        unsigned int dropped;
    } table[] = {
        {"{}", 100, 100, 0, 0},
        {R"({"drop": {"frames": [1, 50, 100]}})", 100, 97, 0, 3},
        {R"({"drop": {"share": 1}})", 100, 0, 0, 100},
        {R"({"corrupt": {"frames": [2, 3]}})", 100, 98, 2, 0},
        {R"({"duplicate": {"frames": [7]}})", 101, 101, 0, 0},
        {R"({"delay": {"frames": [10, 100]}, "delayUs": 30000})", 100, 99, 0, 1},
        {R"({"drop": {"frames": [4]}, "corrupt": {"frames": [4, 5]}})", 100, 98, 1, 1},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.faults);
        const auto pSimulation = MakeSimulation(
            R"({"clock": "manual", "cameras": [{"width": 64, "height": 48, "frameRate": 100, "faults": )" +
            std::string(row.faults) + "}]}");
        const auto pCamera = OpenCamera(1001);
        Listening stream(*pCamera, 200);
        WriteCommand(*pCamera, kTransmissionRegister, kOn);
        pSimulation->AdvanceClock(kSecond + 5000);
        stream.Drain();
        stream.Stop();
        pSimulation->AdvanceClock(kSecond);  // nobody listens
        SimulatedFrameCounts counts;
        ASSERT_TRUE(IsOk(pSimulation->GetFrameCounts(1001, &counts)));
        EXPECT_EQ(counts.exposed, 100U);
        EXPECT_EQ(counts.sent, row.sent);
        EXPECT_EQ(counts.lost, row.dropped);
        EXPECT_EQ(stream.Counters().delivered, row.delivered);
        EXPECT_EQ(stream.Counters().corrupt, row.corrupt);
        EXPECT_EQ(stream.Counters().dropped, row.dropped);
        EXPECT_EQ(stream.CountAll(), counts.sent);
    }
}

TEST(SimulatedFaults, StayWhenNewOnesAreRefused) {
    const auto pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{}]})");
    const auto pCamera = OpenCamera(1001);
    ASSERT_TRUE(IsOk(pSimulation->SetFaults(1001, R"({"registers": {"addresses": ["0x604"]}})")));
    EXPECT_EQ(pSimulation->SetFaults(1001, R"({"registers": {"share": 2}})"), ERR_INVALID_DESCRIPTION);
    EXPECT_EQ(pSimulation->SetFaults(5, "{}"), ERR_CAMERA_NOT_FOUND);
    const unsigned int run[] = {0x20000000, 0x20000000, 0};
    EXPECT_EQ(pCamera->WriteQuadlets(kRegisterSpace, kCommandBase + 0x600, run, 3, false),
              ERR_WRITE_REGISTER_FAILED);
    EXPECT_EQ(ReadCommand(*pCamera, 0x600), 0x20000000U) << "what was written before the failure stays";
    EXPECT_EQ(ReadCommand(*pCamera, 0x608), 0xE0000000U);
    unsigned int errors = 0;
    ASSERT_TRUE(IsOk(pCamera->GetPortErrors(&errors)));
    EXPECT_EQ(errors, 1U);
}

}  // namespace
}  // namespace Zevrin
