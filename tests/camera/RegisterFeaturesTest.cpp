#include <cmath>
#include <cstring>

#include "Fixture.h"
#include "zevrin/CameraStats.h"
#include "zevrin/EmbeddedImageInfo.h"

namespace Zevrin {
namespace {

constexpr unsigned int kEmbedded = 0x12F8;
constexpr unsigned int kDirection = 0x11F8;

using RegisterFeaturesTest = CameraTest;

TEST_F(RegisterFeaturesTest, EmbeddedInfoIsSetWithoutTouchingOtherBitsAndProbedAndRestored) {
    struct {
        unsigned int before;
        unsigned char onOff[10];
        unsigned int after;
    } const cases[] = {
        {0x80000403U, {}, 0x80000400U},
        {0, {1}, 1},
        {0xFFFFFFFFU, {0, 2, 0, 0, 0, 0, 0, 0, 0, 0x80}, 0xFFFFFE02U},  // any byte but 0 counts as on
    };
    EmbeddedImageInfo info;
    auto* const bytes = reinterpret_cast<unsigned char*>(&info);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.before);
        m_script.registers[kEmbedded] = c.before;
        for (unsigned int item = 0; item < 10; ++item) {
            bytes[2 * item + 1] = c.onOff[item];
        }
        EXPECT_EQ(m_camera.SetEmbeddedImageInfo(&info), ERR_OK);
        EXPECT_EQ(m_script.registers[kEmbedded], c.after);
        EXPECT_EQ(Calls().back(), Script::CallText("Iso::CacheEmbeddedImageInfo", c.after));

        std::memset(static_cast<void*>(&info), 0x55, sizeof info);
        EXPECT_EQ(m_camera.GetEmbeddedImageInfo(&info), ERR_OK);
        EXPECT_EQ(m_script.registers[kEmbedded], c.after);
        for (unsigned int item = 0; item < 10; ++item) {
            EXPECT_EQ(bytes[2 * item], 1) << item;
            EXPECT_EQ(bytes[2 * item + 1], c.after >> item & 1U) << item;
        }
    }
    m_script.failures["Iso::CacheEmbeddedImageInfo"] = ComponentFailure();
    m_script.registers[kEmbedded] = 0;
    EXPECT_TRUE(Says(m_camera.SetEmbeddedImageInfo(&info), ERR_FAILED,
                     "Failed to cache the embedded image info.", 1));
    EXPECT_EQ(m_script.registers[kEmbedded], 0x202U) << "written, and not put back";
}

TEST_F(RegisterFeaturesTest, GpioPinsCountFromTheMostSignificantBit) {
    unsigned int direction = 7;
    m_script.registers[kDirection] = 0x80000001U;
    for (unsigned int pin = 0; pin < 32; ++pin) {
        EXPECT_EQ(m_camera.GetGPIOPinDirection(pin, &direction), ERR_OK);
        EXPECT_EQ(direction, pin == 0 || pin == 31 ? 1U : 0U) << pin;
    }
    struct {
        unsigned int before;
        unsigned int pin;
        unsigned int direction;
        bool broadcast;
        unsigned int written;
    } const cases[] = {
        {0, 3, 1, true, 0x10000000U},
        {0xFFFFFFFFU, 31, 0, false, 0xFFFFFFFEU},
        {0xFFFFFFFEU, 31, 0, false, 0xFFFFFFFEU},  // although it is so already
    };
    for (const auto& c : cases) {
        m_script.registers[kDirection] = c.before;
        Calls().clear();
        EXPECT_EQ(m_camera.SetGPIOPinDirection(c.pin, c.direction, c.broadcast), ERR_OK);
        EXPECT_EQ(Calls().back(),
                  Script::CallText("IOBase::WriteRegister", kDirection, c.written, c.broadcast));
    }
}

TEST_F(RegisterFeaturesTest, ReadsTablesOfNumbers) {
    m_script.registers = {
        {0x104, 0xC0001234U}, {0x48D0, 0x3F800000U}, {0x48D4, 0xC0000000U}, {0x48D8, 0x7F800000U}};
    struct {
        unsigned int info;
        unsigned int count;
        std::size_t reads;
    } const cases[] = {{0x80FFF000U, 4095, 2 + 4095},  // no bound of its own
                       {0x80003000U, 3, 2 + 3},
                       {0x00003000U, 0, 1},
                       {0x80000000U, 0, 1},
                       {0x80000FFFU, 0, 1}};
    float values[4095] = {};
    for (const auto& c : cases) {
        unsigned int count = 9;
        m_script.registers[0x100] = c.info;
        Calls().clear();
        EXPECT_EQ(m_camera.ReadRegValues(0x100, 0x104, values, &count), ERR_OK);
        EXPECT_EQ(count, c.count);
        EXPECT_EQ(Calls().size(), c.reads);
    }
    EXPECT_EQ((std::vector<float>{values[0], values[1], values[2]}), (std::vector<float>{1, -2, 99999}));
}

TEST_F(RegisterFeaturesTest, ConvertsEveryKindOfNumber) {
    for (unsigned int exponent = 0; exponent < 256; ++exponent) {
        for (const unsigned int rest :
             {0U, 0x80000000U, 1U, 0x80000001U, 0x007FFFFFU, 0x00400000U, 0x80400000U, 0x80123456U}) {
            const unsigned int raw = exponent << 23 | rest;
            float number = 0;
            std::memcpy(&number, &raw, sizeof number);
            const double standIn = rest == 0x80000000U ? -99999.0 : 99999.0;
            const double expected = exponent == 255 ? standIn : number + 0.0;  // a zero has no sign
            const double value = m_camera.Convert32bitIEEEToFloat(raw);
            EXPECT_TRUE(value == expected && std::signbit(value) == std::signbit(expected)) << raw;
        }
    }
}

/// Before any register is touched, but after the guard, unless the record of the camera's identity is none.
TEST_F(RegisterFeaturesTest, RefusesInItsOwnWords) {
    unsigned int direction = 0;
    constexpr auto kNoInfo = "Invalid embedded image information parameter.";
    constexpr auto kNoIdentity = "Invalid camera info parameter.";
    struct {
        std::function<Error()> operation;
        const char* text;
    } const cases[] = {
        {[&] { return m_camera.GetEmbeddedImageInfo(nullptr); }, kNoInfo},
        {[&] { return m_camera.SetEmbeddedImageInfo(nullptr); }, kNoInfo},
        {[&] { return m_camera.GetGPIOPinDirection(32, &direction); }, "Invalid GPIO pin value."},
        {[&] { return m_camera.SetGPIOPinDirection(32, 5, false); }, "Invalid GPIO pin value."},
        {[&] { return m_camera.SetGPIOPinDirection(31, 2, false); }, "Invalid direction value for GPIO pin."},
        {[&] { return m_camera.GetStats(nullptr); }, "Invalid camera diagnostic information parameter."},
        {[&] { return m_camera.GetCameraInfo(nullptr); }, kNoIdentity},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_TRUE(Says(c.operation(), ERR_INVALID_PARAMETER, c.text));
        EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
        EXPECT_EQ(c.operation(), c.text == kNoIdentity ? ERR_INVALID_PARAMETER : ERR_NOT_CONNECTED);
        EXPECT_EQ(m_camera.Connect(kSerialNumber), ERR_OK);
        EXPECT_TRUE(Calls().empty());
    }
}

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
