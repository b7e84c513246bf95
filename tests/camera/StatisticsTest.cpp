#include <cstring>

#include "Fixture.h"
#include "zevrin/CameraStats.h"

namespace Zevrin {
namespace {

class StatisticsTest : public CameraTest {
  protected:
    StatisticsTest() {
        m_script.registers = {{0x12FC, 6},           {0x0610, 0x80000000U}, {0x12E0, 0xE0},
                              {0x12E4, 0xE4},        {0x1A50, 0x80002000U}, {0x1A54, 0x800},
                              {0x2000, 0x3F800000U}, {0x2004, 0x40000000U}};
        std::memset(static_cast<void*>(&m_stats), 0x55, sizeof m_stats);
    }
    static CallList OfEachComponent(const std::string& operation) {
        CallList calls;
        for (const char* name : {"Iso", "IOBase", "PropertyManager", "Format7", "Trigger", "Strobe",
                                 "DcamFormat", "Info", "Lut", "MemoryChannel", "EventList"}) {
            calls.push_back("IOBase::" + operation + " " + name);
        }
        return calls;
    }

    CameraStats m_stats;
};

TEST_F(StatisticsTest, GatherFromAllSourcesInOrder) {
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    const CameraStats& s = m_stats;
    EXPECT_EQ(
        (std::vector<unsigned int>{
            s.numImagesDropped, s.numImagesCorrupt, s.numImagesDriverDropped, s.numResendPacketsRequested,
            s.numResendPacketsReceived, s.portErrors, s.transmitFailures, s.property17Value,
            s.register12E0Value, s.register12E4Value, s.numMeasurementsA, s.numMeasurementsB,
            s.registerReadFailures, s.registerWriteFailures, s.timeStamp.cycleSeconds, s.reserved[3]}),
        // Eleven times 0x20000000 read failures wrap, and what is reserved is not written.
        (std::vector<unsigned int>{3, 1, 2, 5, 4, 31, 6, 300, 0xE0, 0xE4, 2, 0, 0x60000000U, 22, 9,
                                   0x55555555U}));
    EXPECT_TRUE(s.cameraPowerUp);
    EXPECT_EQ((std::vector<float>{s.measurementsA[1], s.measurementsA[2], s.measurementsB[7]}),
              (std::vector<float>{2, 0, 0}));

    EXPECT_EQ(static_cast<unsigned int>(m_script.lastProperty.type), 17U);
    CallList expected = OfEachComponent("GetRegReadErr");
    const CallList writes = OfEachComponent("GetRegWriteErr");
    expected.insert(expected.end(), writes.begin(), writes.end());
    expected.push_back("IOBase::GetTimeStamp Iso");
    EXPECT_EQ(CallList(Calls().end() - 23, Calls().end()), expected);
    EXPECT_EQ(Calls()[5], "IOBase::GetPortErr Iso");
}

TEST_F(StatisticsTest, PassOverWhatIsNotThere) {
    m_script.isPropertyPresent = false;
    m_script.registers[0x1A50] = m_script.registers[0x0610] = 0x7FFFFFFFU;
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    EXPECT_EQ(m_stats.property17Value, 0U);
    EXPECT_EQ(m_stats.numMeasurementsA, 0U);
    EXPECT_FALSE(m_stats.cameraPowerUp);
}

TEST_F(StatisticsTest, NeverWritePastTheRecordOrReadForIt) {
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    const std::size_t calls = Calls().size();
    m_script.registers[0x1A50] = m_script.registers[0x1A58] = 0x80FFF000U;
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    EXPECT_EQ(m_stats.numMeasurementsA, 8U);
    EXPECT_EQ(m_stats.numMeasurementsB, 8U);
    EXPECT_EQ(m_stats.register12E0Value, 0xE0U);
    constexpr std::size_t kMoreReads = 6 + 1 + 8;  // of the first table, and of the second and its place
    EXPECT_EQ(Calls().size(), 2 * calls + kMoreReads);
}

TEST_F(StatisticsTest, ResetZeroesEverythingThenTheCamera) {
    m_script.failures["Iso::ResetNumResendPacketsRequested"] = ComponentFailure();
    EXPECT_EQ(m_camera.ResetStats(), ERR_OK);
    CallList expected = {"Iso::ResetNumOfImageDropped", "Iso::ResetNumOfImageCorrupt",
                         "Iso::ResetNumOfImageDriverDropped", "Iso::ResetNumResendPacketsRequested",
                         "Iso::ResetNumResendPacketsReceived"};
    for (const char* operation : {"ResetRegReadErr", "ResetRegWriteErr"}) {
        const auto calls = OfEachComponent(operation);
        expected.insert(expected.end(), calls.begin(), calls.end());
    }
    expected.push_back(Script::CallText("IOBase::WriteRegister", 0x12FC, 0, false));
    EXPECT_EQ(Calls(), expected);
}

TEST_F(StatisticsTest, CameraInfoIsAssembledFromTwoComponents) {
    CameraInfo info;
    EXPECT_EQ(m_camera.GetCameraInfo(&info), ERR_OK);
    EXPECT_EQ(info.serialNumber, 12U);
    EXPECT_EQ(info.bayerTileFormat, BAYER_RGGB) << "the stream's stands";

    std::size_t calls = 2;
    for (const char* operation : {"Iso::GetBayerFormat", "Info::GetCameraInfo"}) {
        Calls().clear();
        m_script.failures[operation] = ComponentFailure();
        info = CameraInfo();
        EXPECT_TRUE(Says(m_camera.GetCameraInfo(&info), ERR_TRIGGER_FAILED, "component said 99", 1));
        EXPECT_EQ(info.serialNumber, 12U) << "nothing is cleared";
        EXPECT_EQ(Calls().size(), calls--) << "the stream is asked last";
    }
}

}  // namespace
}  // namespace Zevrin
