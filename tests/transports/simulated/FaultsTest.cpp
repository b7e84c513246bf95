#include "SimulatedFixture.h"

namespace Zevrin {
namespace {

struct FrameFaultCase {
    const char* faults;
    unsigned int sent;
    unsigned int delivered;
    unsigned int corrupt;
    unsigned int dropped;
};

TEST(SimulatedFaults, EveryFrameIsAccountedFor) {
    // Of 100 frames exposed.
    const FrameFaultCase table[] = {
        {"{}", 100, 100, 0, 0},
        {R"({"drop": {"frames": [1, 50, 100]}})", 100, 97, 0, 3},
        {R"({"drop": {"share": 1}})", 100, 0, 0, 100},
        {R"({"corrupt": {"frames": [2, 3]}})", 100, 98, 2, 0},
        {R"({"duplicate": {"frames": [7]}})", 101, 101, 0, 0},
        {R"({"delay": {"frames": [10, 100]}, "delayUs": 30000})", 100, 99, 0, 1},
        {R"({"drop": {"frames": [4]}, "corrupt": {"frames": [4, 5]}})", 100, 98, 1, 1},
    };
    for (const FrameFaultCase& row : table) {
        const auto pSimulation = MakeSimulation(
            R"({"clock": "manual", "cameras": [{"width": 64, "height": 48, "frameRate": 100, "faults": )" +
            std::string(row.faults) + "}]}");
        const auto pCamera = OpenCamera(1001);
        Listening stream(*pCamera, 200);
        WriteCommand(*pCamera, kTransmissionRegister, kOn);
        pSimulation->AdvanceClock(kSecond + 5000);
        stream.Drain();
        stream.Stop();
        SimulatedFrameCounts counts;
        ASSERT_TRUE(IsOk(pSimulation->GetFrameCounts(1001, &counts)));
        EXPECT_EQ(counts.exposed, 100U) << row.faults;
        EXPECT_EQ(counts.sent, row.sent) << row.faults;
        EXPECT_EQ(counts.lost, row.dropped) << row.faults;
        EXPECT_EQ(stream.Counters().delivered, row.delivered) << row.faults;
        EXPECT_EQ(stream.Counters().corrupt, row.corrupt) << row.faults;
        EXPECT_EQ(stream.Counters().dropped, row.dropped) << row.faults;
        EXPECT_EQ(stream.CountAll(), counts.sent) << row.faults;
    }
}

TEST(SimulatedFaults, MakeRegisterAccessesFail) {
    const auto pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{}]})");
    const auto pCamera = OpenCamera(1001);
    const auto read = [&](unsigned int offset) {
        unsigned int value = 0;
        return pCamera->ReadQuadlets(kRegisterSpace, kCommandBase + offset, &value, 1).GetType();
    };
    ASSERT_TRUE(IsOk(pSimulation->SetFaults(1001, R"({"registers": {"accesses": [2, 4]}})")));
    const unsigned int rate = 0;
    EXPECT_EQ(read(0x600), ERR_OK);
    EXPECT_EQ(pCamera->WriteQuadlets(kRegisterSpace, kCommandBase + 0x600, &rate, 1, false).GetType(),
              ERR_WRITE_REGISTER_FAILED);
    EXPECT_EQ(ReadCommand(*pCamera, 0x600), 0x60000000U) << "the write that failed wrote nothing";
    EXPECT_EQ(read(0x600), ERR_READ_REGISTER_FAILED);
    EXPECT_EQ(read(0x600), ERR_OK);

    ASSERT_TRUE(IsOk(pSimulation->SetFaults(1001, R"({"registers": {"addresses": ["0x604"]}})")));
    EXPECT_EQ(read(0x604), ERR_READ_REGISTER_FAILED);
    EXPECT_EQ(read(0x604), ERR_READ_REGISTER_FAILED);
    EXPECT_EQ(read(0x608), ERR_OK);
    const unsigned int run[] = {0x20000000, 0x20000000, 0};
    EXPECT_EQ(pCamera->WriteQuadlets(kRegisterSpace, kCommandBase + 0x600, run, 3, false).GetType(),
              ERR_WRITE_REGISTER_FAILED);
    EXPECT_EQ(ReadCommand(*pCamera, 0x600), 0x20000000U) << "what was written before the failure stays";
    EXPECT_EQ(ReadCommand(*pCamera, 0x608), 0xE0000000U);
    unsigned int errors = 0;
    ASSERT_TRUE(IsOk(pCamera->GetPortErrors(&errors)));
    EXPECT_EQ(errors, 5U);

    EXPECT_EQ(pSimulation->SetFaults(1001, R"({"registers": {"share": 2}})").GetType(),
              ERR_INVALID_DESCRIPTION);
    EXPECT_EQ(read(0x604), ERR_READ_REGISTER_FAILED) << "the faults stay when new ones are refused";
    EXPECT_EQ(pSimulation->SetFaults(5, "{}").GetType(), ERR_CAMERA_NOT_FOUND);
}

}  // namespace
}  // namespace Zevrin
