#include <algorithm>
#include <cstring>

#include "Fixture.h"
#include "zevrin/CameraStats.h"

namespace Zevrin {
namespace {

const char* const kStatisticsOrder[] = {"Iso",     "IOBase",        "PropertyManager", "Format7",
                                        "Trigger", "Strobe",        "DcamFormat",      "Info",
                                        "Lut",     "MemoryChannel", "EventList"};

class StatisticsTest : public CameraTest {
  protected:
    StatisticsTest() {
        m_script.registers = {{0x12FC, 6},           {0x0610, 0x80000000U}, {0x12E0, 0xE0},
                              {0x12E4, 0xE4},        {0x1A50, 0x80002000U}, {0x1A54, 0x800},
                              {0x2000, 0x3F800000U}, {0x2004, 0x40000000U}};
        m_script.readErrors = 0x20000000U;
        m_script.writeErrors = 2;
        m_script.timeStamp.cycleSeconds = 9;
        m_script.property.present = true;
        m_script.property.valueA = 300;
        std::memset(static_cast<void*>(&m_stats), 0x55, sizeof m_stats);
    }
    /// The part of the record of calls that matches, in order.
    static CallList CallsOf(const std::string& operation) {
        CallList found;
        std::copy_if(Calls().begin(), Calls().end(), std::back_inserter(found),
                     [&](const std::string& call) { return call.rfind(operation, 0) == 0; });
        return found;
    }
    static CallList ForEachComponent(const char* operation) {
        CallList calls;
        for (const char* name : kStatisticsOrder) {
            calls.push_back(Script::CallText(operation, name));
        }
        return calls;
    }

    CameraStats m_stats;
};

TEST_F(StatisticsTest, GatherFromAllSourcesInOrder) {
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    const CameraStats& s = m_stats;
    EXPECT_EQ(
        (std::vector<unsigned int>{s.numImagesDropped, s.numImagesCorrupt, s.numImagesDriverDropped,
                                   s.numResendPacketsRequested, s.numResendPacketsReceived, s.portErrors,
                                   s.transmitFailures, s.property17Value, s.register12E0Value,
                                   s.register12E4Value, s.numMeasurementsA, s.numMeasurementsB}),
        (std::vector<unsigned int>{3, 1, 2, 5, 4, 31, 6, 300, 0xE0, 0xE4, 2, 0}));
    EXPECT_TRUE(s.cameraPowerUp);
    EXPECT_EQ((std::vector<float>{s.measurementsA[1], s.measurementsA[2], s.measurementsB[7]}),
              (std::vector<float>{2, 0, 0}));
    EXPECT_EQ(m_stats.registerReadFailures, 0x60000000U) << "eleven times 0x20000000, wrapped";
    EXPECT_EQ(m_stats.registerWriteFailures, 22U);
    EXPECT_EQ(m_stats.timeStamp.cycleSeconds, 9U);
    EXPECT_EQ(m_stats.reserved[3], 0x55555555U) << "not written";

    EXPECT_EQ(static_cast<unsigned int>(m_script.lastProperty.type), 17U);
    EXPECT_EQ(CallsOf("IOBase::GetRegReadErr"), ForEachComponent("IOBase::GetRegReadErr"));
    EXPECT_EQ(CallsOf("IOBase::GetRegWriteErr"), ForEachComponent("IOBase::GetRegWriteErr"));
    EXPECT_EQ(CallsOf("IOBase::GetPortErr"), CallList{"IOBase::GetPortErr Iso"});
    EXPECT_EQ(Calls().back(), "IOBase::GetTimeStamp Iso");
}

TEST_F(StatisticsTest, PassOverWhatIsNotThere) {
    m_script.property.present = false;
    m_script.registers[0x1A50] = m_script.registers[0x0610] = 0x7FFFFFFFU;
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    EXPECT_EQ(m_stats.property17Value, 0U);
    EXPECT_EQ(m_stats.numMeasurementsA, 0U);
    EXPECT_FALSE(m_stats.cameraPowerUp);
}

TEST_F(StatisticsTest, NeverWritePastTheRecordOrReadForIt) {
    m_script.registers[0x1A50] = m_script.registers[0x1A58] = 0x80FFF000U;
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    EXPECT_EQ(m_stats.numMeasurementsA, 8U);
    EXPECT_EQ(m_stats.numMeasurementsB, 8U);
    EXPECT_EQ(m_stats.register12E0Value, 0xE0U);
    EXPECT_EQ(CallsOf("IOBase::ReadRegister").size(), 4U + 2 * (2 + 8));
}

TEST_F(StatisticsTest, ResetZeroesEverythingThenTheCamera) {
    EXPECT_EQ(m_camera.ResetStats(), ERR_OK);
    CallList expected = {"Iso::ResetNumOfImageDropped", "Iso::ResetNumOfImageCorrupt",
                         "Iso::ResetNumOfImageDriverDropped", "Iso::ResetNumResendPacketsRequested",
                         "Iso::ResetNumResendPacketsReceived"};
    for (const char* operation : {"IOBase::ResetRegReadErr", "IOBase::ResetRegWriteErr"}) {
        const auto calls = ForEachComponent(operation);
        expected.insert(expected.end(), calls.begin(), calls.end());
    }
    expected.push_back(Script::CallText("IOBase::WriteRegister", 0x12FC, 0, false));
    EXPECT_EQ(Calls(), expected);

    m_script.failures["Iso::ResetNumResendPacketsRequested"] = ComponentFailure();
    EXPECT_EQ(m_camera.ResetStats(), ERR_OK);
}

TEST_F(StatisticsTest, TestTheGuardBeforeTheRecord) {
    EXPECT_TRUE(Says(m_camera.GetStats(nullptr), ERR_INVALID_PARAMETER,
                     "Invalid camera diagnostic information parameter."));
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    EXPECT_EQ(m_camera.GetStats(nullptr), ERR_NOT_CONNECTED);
    EXPECT_TRUE(Calls().empty());
}

TEST_F(StatisticsTest, CameraInfoIsAssembledFromTwoComponents) {
    m_script.cameraInfo.serialNumber = 12;
    m_script.cameraInfo.bayerTileFormat = BAYER_GBRG;
    m_script.bayerFormat = BAYER_RGGB;
    CameraInfo info;
    EXPECT_EQ(m_camera.GetCameraInfo(&info), ERR_OK);
    EXPECT_EQ(info.serialNumber, 12U);
    EXPECT_EQ(info.bayerTileFormat, BAYER_RGGB) << "the stream's stands";

    info = CameraInfo();
    std::size_t calls = 2;
    for (const char* operation : {"Iso::GetBayerFormat", "Info::GetCameraInfo"}) {
        Calls().clear();
        m_script.failures[operation] = ComponentFailure();
        EXPECT_TRUE(Says(m_camera.GetCameraInfo(&info), ERR_TRIGGER_FAILED, "component said 99", 1));
        EXPECT_EQ(info.serialNumber, 12U) << "nothing is cleared";
        EXPECT_EQ(Calls().size(), calls--) << "the stream is asked last";
    }
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    EXPECT_EQ(m_camera.GetCameraInfo(&info), ERR_NOT_CONNECTED);
    EXPECT_TRUE(
        Says(m_camera.GetCameraInfo(nullptr), ERR_INVALID_PARAMETER, "Invalid camera info parameter."))
        << "before the guard";
}

}  // namespace
}  // namespace Zevrin
