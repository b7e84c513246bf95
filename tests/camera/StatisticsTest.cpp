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
        auto& registers = Script::Get().registers;
        registers[0x12FC] = 6;
        registers[0x0610] = 0x80000000U;
        registers[0x12E0] = 0xE0;
        registers[0x12E4] = 0xE4;
        registers[0x1A50] = 0x80002000U;
        registers[0x1A54] = 0x800;
        registers[0x2000] = 0x3F800000U;
        registers[0x2004] = 0x40000000U;
        Script::Get().readErrors = 0x20000000U;
        Script::Get().writeErrors = 2;
        Script::Get().timeStamp.cycleSeconds = 9;
        Script::Get().property.present = true;
        Script::Get().property.valueA = 300;
        std::memset(static_cast<void*>(&m_stats), 0x55, sizeof m_stats);
    }
    /// The part of the record of calls that matches, in order.
    static std::vector<std::string> CallsOf(const std::string& operation) {
        std::vector<std::string> found;
        std::copy_if(Calls().begin(), Calls().end(), std::back_inserter(found),
                     [&](const std::string& call) { return call.rfind(operation, 0) == 0; });
        return found;
    }
    static std::vector<std::string> ForEachComponent(const char* operation) {
        std::vector<std::string> calls;
        for (const char* name : kStatisticsOrder) {
            calls.push_back(Script::CallText(operation, name));
        }
        return calls;
    }

    CameraStats m_stats;
};

TEST_F(StatisticsTest, GatherFromAllSourcesInOrder) {
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    EXPECT_EQ(m_stats.numImagesDropped, 3U);
    EXPECT_EQ(m_stats.numImagesCorrupt, 1U);
    EXPECT_EQ(m_stats.numImagesDriverDropped, 2U);
    EXPECT_EQ(m_stats.numResendPacketsRequested, 5U);
    EXPECT_EQ(m_stats.numResendPacketsReceived, 4U);
    EXPECT_EQ(m_stats.portErrors, 31U);
    EXPECT_EQ(m_stats.transmitFailures, 6U);
    EXPECT_TRUE(m_stats.cameraPowerUp);
    EXPECT_EQ(m_stats.property17Value, 300U);
    EXPECT_EQ(m_stats.register12E0Value, 0xE0U);
    EXPECT_EQ(m_stats.register12E4Value, 0xE4U);
    EXPECT_EQ(m_stats.numMeasurementsA, 2U);
    EXPECT_EQ(m_stats.measurementsA[1], 2.0F);
    EXPECT_EQ(m_stats.measurementsA[2], 0.0F);
    EXPECT_EQ(m_stats.numMeasurementsB, 0U);
    EXPECT_EQ(m_stats.measurementsB[7], 0.0F);
    EXPECT_EQ(m_stats.registerReadFailures, 0x60000000U) << "eleven times 0x20000000, wrapped";
    EXPECT_EQ(m_stats.registerWriteFailures, 22U);
    EXPECT_EQ(m_stats.timeStamp.cycleSeconds, 9U);
    EXPECT_EQ(m_stats.reserved[3], 0x55555555U) << "not written";

    EXPECT_EQ(Script::Get().lastProperty.type, TEMPERATURE);
    EXPECT_EQ(static_cast<unsigned int>(TEMPERATURE), 17U);
    EXPECT_EQ(CallsOf("IOBase::GetRegReadErr"), ForEachComponent("IOBase::GetRegReadErr"));
    EXPECT_EQ(CallsOf("IOBase::GetRegWriteErr"), ForEachComponent("IOBase::GetRegWriteErr"));
    EXPECT_EQ(CallsOf("IOBase::GetPortErr"), std::vector<std::string>{"IOBase::GetPortErr Iso"});
    EXPECT_EQ(Calls().back(), "IOBase::GetTimeStamp Iso");
}

TEST_F(StatisticsTest, PassOverWhatIsNotThere) {
    Script::Get().failures["IOBase::GetPortErr"] = ComponentFailure();
    Script::Get().failures["IOBase::GetTimeStamp"] = ComponentFailure();
    Script::Get().property.present = false;
    Script::Get().registers[0x1A50] = 0x7FFFFFFFU;
    Script::Get().registers[0x0610] = 0x7FFFFFFFU;
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    EXPECT_EQ(m_stats.portErrors, 0U);
    EXPECT_EQ(m_stats.timeStamp.cycleSeconds, 0U);
    EXPECT_EQ(m_stats.property17Value, 0U);
    EXPECT_EQ(m_stats.numMeasurementsA, 0U);
    EXPECT_FALSE(m_stats.cameraPowerUp);

    Script::Get().property.present = true;
    Script::Get().failures["PropertyManager::GetProperty"] = ComponentFailure();
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    EXPECT_EQ(m_stats.property17Value, 0U);
}

TEST_F(StatisticsTest, NeverWritePastTheRecordOrReadForIt) {
    Script::Get().registers[0x1A50] = 0x80FFF000U;
    Script::Get().registers[0x1A58] = 0x80FFF000U;
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    EXPECT_EQ(m_stats.numMeasurementsA, 8U);
    EXPECT_EQ(m_stats.numMeasurementsB, 8U);
    EXPECT_EQ(m_stats.register12E0Value, 0xE0U);
    EXPECT_EQ(CallsOf("IOBase::ReadRegister").size(), 4U + 2 * (2 + 8));
}

// Accesses in order: 12FC, 610, 12E0, 12E4, 1A50, 1A54, two entries, 1A58.
TEST_F(StatisticsTest, OnlyTwoRegistersCanFailThem) {
    const char* const texts[] = {"Error reading transmit failure register of the camera.",
                                 "Error reading power register of the camera."};
    for (int failing = 0; failing < 9; ++failing) {
        SCOPED_TRACE(failing);
        std::memset(static_cast<void*>(&m_stats), 0x55, sizeof m_stats);
        Script::Get().registerAccessesUntilFailure = failing;
        const Error error = m_camera.GetStats(&m_stats);
        if (failing < 2) {
            EXPECT_EQ(error.GetType(), ERR_REGISTER_FAILED);
            EXPECT_STREQ(error.GetDescription(), texts[failing]);
            EXPECT_EQ(error.GetCause().GetType(), ERR_TIMEOUT);
            EXPECT_EQ(m_stats.numImagesDropped, 3U);
            EXPECT_EQ(m_stats.transmitFailures, failing == 0 ? 0x55555555U : 6U);
            EXPECT_EQ(m_stats.registerWriteFailures, 0x55555555U);
        } else {
            EXPECT_EQ(error, ERR_OK);
            EXPECT_EQ(m_stats.register12E0Value, failing == 2 ? 0U : 0xE0U);
            EXPECT_EQ(m_stats.register12E4Value, failing == 3 ? 0U : 0xE4U);
            EXPECT_EQ(m_stats.numMeasurementsA, failing < 4 || failing > 7 ? 2U : failing == 7 ? 1U : 0U);
            EXPECT_EQ(m_stats.timeStamp.cycleSeconds, 9U);
        }
    }
}

TEST_F(StatisticsTest, ResetZeroesEverythingThenTheCamera) {
    EXPECT_EQ(m_camera.ResetStats(), ERR_OK);
    std::vector<std::string> expected = {
        "Iso::ResetNumOfImageDropped", "Iso::ResetNumOfImageCorrupt", "Iso::ResetNumOfImageDriverDropped",
        "Iso::ResetNumResendPacketsRequested", "Iso::ResetNumResendPacketsReceived"};
    for (const char* operation : {"IOBase::ResetRegReadErr", "IOBase::ResetRegWriteErr"}) {
        const auto calls = ForEachComponent(operation);
        expected.insert(expected.end(), calls.begin(), calls.end());
    }
    expected.push_back(Script::CallText("IOBase::WriteRegister", 0x12FC, 0, false));
    EXPECT_EQ(Calls(), expected);

    Script::Get().failures["Iso::ResetNumResendPacketsRequested"] = ComponentFailure();
    EXPECT_EQ(m_camera.ResetStats(), ERR_OK);
    Script::Get().registerAccessesUntilFailure = 0;
    const Error error = m_camera.ResetStats();
    EXPECT_EQ(error.GetType(), ERR_REGISTER_FAILED);
    EXPECT_STREQ(error.GetDescription(), "Error resetting transmit failure register of the camera.");
    EXPECT_EQ(CauseLevels(error), 2);
}

TEST_F(StatisticsTest, TestTheGuardBeforeTheRecord) {
    const Error error = m_camera.GetStats(nullptr);
    EXPECT_EQ(error.GetType(), ERR_INVALID_PARAMETER);
    EXPECT_STREQ(error.GetDescription(), "Invalid camera diagnostic information parameter.");
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    EXPECT_EQ(m_camera.GetStats(nullptr), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_camera.ResetStats(), ERR_NOT_CONNECTED);
    EXPECT_TRUE(Calls().empty());
}

TEST_F(StatisticsTest, CycleTimeIsNotGuarded) {
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    TimeStamp stamp;
    EXPECT_EQ(m_camera.GetCycleTime(&stamp), ERR_OK);
    EXPECT_EQ(stamp.cycleSeconds, 9U);
    Script::Get().failures["IOBase::GetTimeStamp"] = ComponentFailure();
    const Error error = m_camera.GetCycleTime(&stamp);
    EXPECT_EQ(error.GetType(), ComponentFailure().GetType());
    EXPECT_EQ(CauseLevels(error), 1);
}

TEST_F(StatisticsTest, CameraInfoIsAssembledFromTwoComponents) {
    Script::Get().cameraInfo.serialNumber = 12;
    Script::Get().cameraInfo.bayerTileFormat = BAYER_GBRG;
    Script::Get().bayerFormat = BAYER_RGGB;
    CameraInfo info;
    EXPECT_EQ(m_camera.GetCameraInfo(&info), ERR_OK);
    EXPECT_EQ(info.serialNumber, 12U);
    EXPECT_EQ(info.bayerTileFormat, BAYER_RGGB) << "the stream's stands";

    Script::Get().failures["Iso::GetBayerFormat"] = ComponentFailure();
    info = CameraInfo();
    Error error = m_camera.GetCameraInfo(&info);
    EXPECT_EQ(error.GetType(), ComponentFailure().GetType());
    EXPECT_EQ(CauseLevels(error), 1);
    EXPECT_EQ(info.serialNumber, 12U) << "nothing is cleared";

    Calls().clear();
    Script::Get().failures["Info::GetCameraInfo"] = ComponentFailure();
    error = m_camera.GetCameraInfo(&info);
    EXPECT_EQ(CauseLevels(error), 1);
    EXPECT_EQ(Calls().size(), 1U) << "the stream is not asked any more";

    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    EXPECT_EQ(m_camera.GetCameraInfo(&info), ERR_NOT_CONNECTED);
    error = m_camera.GetCameraInfo(nullptr);
    EXPECT_EQ(error.GetType(), ERR_INVALID_PARAMETER) << "before the guard";
    EXPECT_STREQ(error.GetDescription(), "Invalid camera info parameter.");
    EXPECT_EQ(CauseLevels(error), 0);
}

}  // namespace

}  // namespace Zevrin
