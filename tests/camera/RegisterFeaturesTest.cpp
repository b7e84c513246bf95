#include <cmath>
#include <cstring>

#include "Fixture.h"
#include "zevrin/CameraStats.h"
#include "zevrin/EmbeddedImageInfo.h"

namespace Zevrin {
namespace {

constexpr unsigned int kEmbedded = 0x12F8;
constexpr unsigned int kDirection = 0x11F8;

class RegisterFeaturesTest : public CameraTest {
  protected:
    unsigned char& OnOff(unsigned int item) {
        return reinterpret_cast<unsigned char*>(&m_embedded)[2 * item + 1];
    }
    /// Any byte but 0 counts as on.
    Error SetEmbedded(unsigned int items, unsigned char on) {
        for (unsigned int item = 0; item < 10; ++item) {
            OnOff(item) = (items >> item & 1U) != 0 ? on : 0;
        }
        return m_camera.SetEmbeddedImageInfo(&m_embedded);
    }

    EmbeddedImageInfo m_embedded;
};

TEST_F(RegisterFeaturesTest, KeepTheBitsThatAreNotTheirs) {
    const std::string write = "IOBase::WriteRegister";
    const std::string cache = "Iso::CacheEmbeddedImageInfo";
    const struct {
        unsigned int address;
        unsigned int before;
        std::function<Error()> operation;
        unsigned int after;
        std::string lastCall;
    } rows[] = {
        {kDirection, 0, [&] { return m_camera.SetGPIOPinDirection(3, 1, true); }, 0x10000000U,
         Script::CallText(write, kDirection, 0x10000000U, true)},
        {kDirection, 0xFFFFFFFFU, [&] { return m_camera.SetGPIOPinDirection(31, 0, false); }, 0xFFFFFFFEU,
         Script::CallText(write, kDirection, 0xFFFFFFFEU, false)},
        {kDirection, 1, [&] { return m_camera.SetGPIOPinDirection(31, 1, false); }, 1,  // as it is already
         Script::CallText(write, kDirection, 1, false)},
        {kEmbedded, 0x80000403U, [&] { return SetEmbedded(0, 1); }, 0x80000400U,
         Script::CallText(cache, 0x80000400U)},
        {kEmbedded, 0, [&] { return SetEmbedded(1, 1); }, 1, Script::CallText(cache, 1)},
        {kEmbedded, 0xFFFFFFFFU, [&] { return SetEmbedded(0x202, 0x80); }, 0xFFFFFE02U,
         Script::CallText(cache, 0xFFFFFE02U)},
        {kEmbedded, 0x80000403U, [&] { return m_camera.GetEmbeddedImageInfo(&m_embedded); }, 0x80000403U,
         Script::CallText(write, kEmbedded, 0x80000403U, false)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.lastCall);
        m_script.registers[row.address] = row.before;
        Calls().clear();
        EXPECT_EQ(row.operation(), ERR_OK);
        EXPECT_EQ(m_script.registers[row.address], row.after);
        EXPECT_EQ(Calls().back(), row.lastCall);
    }
    for (unsigned int item = 0; item < 10; ++item) {
        EXPECT_EQ(*(&OnOff(item) - 1), 1) << "this camera has all items";
        EXPECT_EQ(OnOff(item), item < 2 ? 1 : 0) << item;
    }
    m_script.failures[cache] = ComponentFailure();
    EXPECT_TRUE(Says(SetEmbedded(4, 1), ERR_FAILED, "Failed to cache the embedded image info.", 1));
    EXPECT_EQ(m_script.registers[kEmbedded], 0x80000404U) << "written, and not put back";

    m_script.registers[kDirection] = 0x80000001U;
    for (unsigned int pin = 0; pin < 32; ++pin) {
        unsigned int direction = 7;
        EXPECT_EQ(m_camera.GetGPIOPinDirection(pin, &direction), ERR_OK);
        EXPECT_EQ(direction, pin == 0 || pin == 31 ? 1U : 0U) << pin;
    }
}

TEST_F(RegisterFeaturesTest, ReadTablesOfNumbers) {
    m_script.registers = {
        {0x104, 0xC0001234U}, {0x48D0, 0x3F800000U}, {0x48D4, 0xC0000000U}, {0x48D8, 0x7F800000U}};
    float values[4095] = {};
    const auto read = [&](unsigned int info) {
        unsigned int count = 9;
        m_script.registers[0x100] = info;
        Calls().clear();
        EXPECT_EQ(m_camera.ReadRegValues(0x100, 0x104, values, &count), ERR_OK);
        return std::pair<unsigned int, std::size_t>(count, Calls().size());
    };
    EXPECT_EQ(read(0x80FFF000U), std::make_pair(4095U, 2UL + 4095)) << "no bound of its own";
    EXPECT_EQ(read(0x80003000U), std::make_pair(3U, 2UL + 3));
    EXPECT_EQ((std::vector<float>(values, values + 3)), (std::vector<float>{1, -2, 99999}));
    for (const unsigned int nothing : {0x00003000U, 0x80000000U, 0x80000FFFU}) {
        EXPECT_EQ(read(nothing), std::make_pair(0U, 1UL));
    }
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
    /// One operation after the other.
    static CallList OfEachComponent(std::initializer_list<std::string> operations) {
        CallList calls;
        for (const std::string& operation : operations) {
            for (const char* name : {"Iso", "IOBase", "PropertyManager", "Format7", "Trigger", "Strobe",
                                     "DcamFormat", "Info", "Lut", "MemoryChannel", "EventList"}) {
                calls.push_back("IOBase::" + operation + " " + name);
            }
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
            s.numResendPacketsReceived, s.portErrors, s.transmitFailures, s.cameraPowerUp, s.property17Value,
            s.register12E0Value, s.register12E4Value, s.numMeasurementsA, s.numMeasurementsB,
            s.registerReadFailures, s.registerWriteFailures, s.timeStamp.cycleSeconds, s.reserved[3]}),
        // Eleven times 0x20000000 read failures wrap, and what is reserved is not written.
        (std::vector<unsigned int>{3, 1, 2, 5, 4, 31, 6, 1, 300, 0xE0, 0xE4, 2, 0, 0x60000000U, 22, 9,
                                   0x55555555U}));
    EXPECT_EQ((std::vector<float>{s.measurementsA[1], s.measurementsA[2], s.measurementsB[7]}),
              (std::vector<float>{2, 0, 0}));
    EXPECT_EQ(static_cast<unsigned int>(m_script.lastProperty.type), 17U);
    CallList last = OfEachComponent({"GetRegReadErr", "GetRegWriteErr"});
    last.push_back("IOBase::GetTimeStamp Iso");
    EXPECT_EQ(CallList(Calls().end() - 23, Calls().end()), last);
    EXPECT_EQ(Calls()[5], "IOBase::GetPortErr Iso");
}

TEST_F(StatisticsTest, PassOverWhatIsNotThereAndNeverReadPastTheRecord) {
    m_script.isPropertyPresent = false;
    m_script.registers[0x1A50] = m_script.registers[0x0610] = 0x7FFFFFFFU;
    m_script.registers[0x1A58] = 0x80FFF000U;
    EXPECT_EQ(m_camera.GetStats(&m_stats), ERR_OK);
    EXPECT_EQ(m_stats.property17Value, 0U);
    EXPECT_EQ(m_stats.numMeasurementsA, 0U);
    EXPECT_EQ(m_stats.numMeasurementsB, 8U);
    EXPECT_FALSE(m_stats.cameraPowerUp);
    EXPECT_EQ(Calls().size(), 6U + 2 + 1 + 2 + 1 + (2 + 8) + 22 + 1) << "eight entries of the second table";
}

TEST_F(StatisticsTest, ResetZeroesEverythingThenTheCamera) {
    m_script.failures["Iso::ResetNumResendPacketsRequested"] = ComponentFailure();
    EXPECT_EQ(m_camera.ResetStats(), ERR_OK);
    CallList expected = OfEachComponent({"ResetRegReadErr", "ResetRegWriteErr"});
    expected.insert(
        expected.begin(),
        {"Iso::ResetNumOfImageDropped", "Iso::ResetNumOfImageCorrupt", "Iso::ResetNumOfImageDriverDropped",
         "Iso::ResetNumResendPacketsRequested", "Iso::ResetNumResendPacketsReceived"});
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
