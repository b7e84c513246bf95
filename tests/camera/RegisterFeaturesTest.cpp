#include <cmath>
#include <cstring>
#include <limits>

#include "Fixture.h"
#include "zevrin/EmbeddedImageInfo.h"

namespace Zevrin {

namespace {

constexpr unsigned int kEmbedded = 0x12F8;
constexpr unsigned int kDirection = 0x11F8;

class RegisterFeaturesTest : public CameraTest {
  protected:
    static unsigned int& Register(unsigned int address) { return Script::Get().registers[address]; }

    /// Reads ('R') and writes ('W' with the value) that the register component saw.
    static std::vector<std::string> Accesses() {
        std::vector<std::string> accesses;
        for (const std::string& call : Calls()) {
            std::istringstream words(call);
            std::string operation;
            unsigned int address = 0;
            std::string rest;
            words >> operation >> address >> rest;
            if (operation == "IOBase::ReadRegister") {
                accesses.push_back("R");
            } else if (operation == "IOBase::WriteRegister") {
                accesses.push_back("W" + rest);
            }
        }
        return accesses;
    }
    /// What an operation must say when one of its own register accesses is refused.
    static void ExpectWrapped(const Error& error) {
        EXPECT_EQ(error.GetType(), ERR_TIMEOUT);
        EXPECT_STREQ(error.GetDescription(), "access refused");
        EXPECT_EQ(CauseLevels(error), 2) << "the register operation wraps it, and so does the feature";
    }
};

TEST_F(RegisterFeaturesTest, EmbeddedInfoIsProbedAndRestored) {
    Register(kEmbedded) = 0x80000403U;
    EmbeddedImageInfo info;
    std::memset(static_cast<void*>(&info), 0x55, sizeof info);
    EXPECT_EQ(m_camera.GetEmbeddedImageInfo(&info), ERR_OK);
    const auto* bytes = reinterpret_cast<const unsigned char*>(&info);
    for (unsigned int item = 0; item < 10; ++item) {
        EXPECT_EQ(bytes[2 * item], 1) << item;
        EXPECT_EQ(bytes[2 * item + 1], item < 2 ? 1 : 0) << item;
    }
    EXPECT_EQ(Accesses(), (std::vector<std::string>{"R", "W2147484671", "R", "W2147484675"}));
    EXPECT_EQ(Register(kEmbedded), 0x80000403U);
}

// Each access failing in turn; the third leaves the register as the probe wrote it.
TEST_F(RegisterFeaturesTest, EmbeddedInfoQueryFailsAsItMustAtEachAccess) {
    const unsigned int left[] = {0x3U, 0x3U, 0x800003FFU, 0x800003FFU};
    for (int failing = 0; failing < 4; ++failing) {
        SCOPED_TRACE(failing);
        Calls().clear();
        Register(kEmbedded) = 0x3;
        Script::Get().registerAccessesUntilFailure = failing;
        EmbeddedImageInfo info;
        std::memset(static_cast<void*>(&info), 0x55, sizeof info);
        ExpectWrapped(m_camera.GetEmbeddedImageInfo(&info));
        EXPECT_EQ(Accesses().size(), static_cast<std::size_t>(failing) + 1) << "it stops at once";
        EXPECT_EQ(Register(kEmbedded), left[failing]);
        const auto* bytes = reinterpret_cast<const unsigned char*>(&info);
        EXPECT_EQ(bytes[0], 0x55) << "available is as the caller left it";
        EXPECT_EQ(bytes[1], failing == 0 ? 0x55 : 1);
    }
}

TEST_F(RegisterFeaturesTest, EmbeddedInfoIsSetWithoutTouchingOtherBits) {
    struct {
        unsigned int before;
        unsigned char onOff[10];
        unsigned int after;
    } const cases[] = {
        {0x80000403U, {}, 0x80000400U},
        {0, {1}, 1},
        {0xFFFFFFFFU, {0, 2, 0, 0, 0, 0, 0, 0, 0, 0x80}, 0xFFFFFE02U},  // any byte but 0 counts as on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.before);
        Calls().clear();
        Register(kEmbedded) = c.before;
        EmbeddedImageInfo info;
        auto* bytes = reinterpret_cast<unsigned char*>(&info);
        for (unsigned int item = 0; item < 10; ++item) {
            bytes[2 * item + 1] = c.onOff[item];
        }
        EXPECT_EQ(m_camera.SetEmbeddedImageInfo(&info), ERR_OK);
        EXPECT_EQ(Register(kEmbedded), c.after);
        EXPECT_EQ(Calls().back(), Script::CallText("Iso::CacheEmbeddedImageInfo", c.after));
    }
}

TEST_F(RegisterFeaturesTest, EmbeddedInfoSettingFailsAtEachStep) {
    EmbeddedImageInfo info;
    info.timestamp.onOff = true;
    for (int failing = 0; failing < 2; ++failing) {
        Script::Get().registerAccessesUntilFailure = failing;
        ExpectWrapped(m_camera.SetEmbeddedImageInfo(&info));
        EXPECT_EQ(Register(kEmbedded), 0U);
    }
    Script::Get().registerAccessesUntilFailure = -1;
    Script::Get().failures["Iso::CacheEmbeddedImageInfo"] = ComponentFailure();
    const Error error = m_camera.SetEmbeddedImageInfo(&info);
    EXPECT_EQ(error.GetType(), ERR_FAILED);
    EXPECT_STREQ(error.GetDescription(), "Failed to cache the embedded image info.");
    EXPECT_EQ(CauseLevels(error), 1);
    EXPECT_EQ(Register(kEmbedded), 1U) << "written, and not put back";
}

TEST_F(RegisterFeaturesTest, GpioPinsCountFromTheMostSignificantBit) {
    unsigned int direction = 7;
    Register(kDirection) = 0x80000001U;
    for (unsigned int pin = 0; pin < 32; ++pin) {
        EXPECT_EQ(m_camera.GetGPIOPinDirection(pin, &direction), ERR_OK);
        EXPECT_EQ(direction, pin == 0 || pin == 31 ? 1U : 0U) << pin;
    }
    Register(kDirection) = 0;
    EXPECT_EQ(m_camera.SetGPIOPinDirection(3, 1, true), ERR_OK);
    EXPECT_EQ(Calls().back(), Script::CallText("IOBase::WriteRegister", kDirection, 0x10000000U, true));
    Register(kDirection) = 0xFFFFFFFFU;
    EXPECT_EQ(m_camera.SetGPIOPinDirection(31, 0, false), ERR_OK);
    EXPECT_EQ(Register(kDirection), 0xFFFFFFFEU);
    Calls().clear();
    EXPECT_EQ(m_camera.SetGPIOPinDirection(31, 0, false), ERR_OK);
    EXPECT_EQ(Accesses().size(), 2U) << "written although it is so already";
}

TEST_F(RegisterFeaturesTest, ReadsTablesOfNumbers) {
    Register(0x100) = 0x80003000U;
    Register(0x104) = 0xC0001234U;
    Register(0x48D0) = 0x3F800000U;
    Register(0x48D4) = 0xC0000000U;
    Register(0x48D8) = 0x7F800000U;
    float values[4095] = {};
    unsigned int count = 9;
    EXPECT_EQ(m_camera.ReadRegValues(0x100, 0x104, values, &count), ERR_OK);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(values[0], 1.0F);
    EXPECT_EQ(values[1], -2.0F);
    EXPECT_EQ(values[2], 99999.0F);

    Register(0x100) = 0x80FFF000U;
    EXPECT_EQ(m_camera.ReadRegValues(0x100, 0x104, values, &count), ERR_OK);
    EXPECT_EQ(count, 4095U) << "no bound of its own";

    for (const unsigned int nothing : {0x00003000U, 0x80000000U, 0x80000FFFU}) {
        Calls().clear();
        Register(0x100) = nothing;
        EXPECT_EQ(m_camera.ReadRegValues(0x100, 0x104, values, &count), ERR_OK);
        EXPECT_EQ(count, 0U);
        EXPECT_EQ(Accesses().size(), 1U);
    }
    Register(0x100) = 0x80003000U;
    for (int failing = 0; failing < 5; ++failing) {
        Script::Get().registerAccessesUntilFailure = failing;
        const Error error = m_camera.ReadRegValues(0x100, 0x104, values, &count);
        EXPECT_EQ(error.GetType(), ERR_TIMEOUT);
        EXPECT_EQ(CauseLevels(error), 1) << "as the register operation returned it";
        EXPECT_EQ(count, failing < 2 ? 0U : static_cast<unsigned int>(failing - 2));
    }
}

TEST_F(RegisterFeaturesTest, ConvertsEveryKindOfNumber) {
    struct {
        unsigned int raw;
        double value;
    } const cases[] = {
        {0x3F800000U, 1.0},
        {0xC0000000U, -2.0},
        {0x00000001U, std::ldexp(1.0, -149)},
        {0x80000001U, -std::ldexp(1.0, -149)},
        {0x007FFFFFU, std::ldexp(0x7FFFFF, -149)},
        {0x00800000U, std::ldexp(1.0, -126)},
        {0x7F7FFFFFU, std::numeric_limits<float>::max()},
        {0x7F800000U, 99999.0},
        {0xFF800000U, -99999.0},
        {0x7FC00000U, 99999.0},
        {0xFFC00000U, 99999.0},
        {0xFF800001U, 99999.0},
        {0, 0.0},
        {0x80000000U, 0.0},
    };
    for (const auto& c : cases) {
        const double value = m_camera.Convert32bitIEEEToFloat(c.raw);
        EXPECT_EQ(value, c.value) << std::hex << c.raw;
        EXPECT_EQ(std::signbit(value), std::signbit(c.value)) << std::hex << c.raw;
    }
    for (unsigned int exponent = 0; exponent < 255; ++exponent) {
        const unsigned int raw = exponent << 23 | 0x80123456U;
        float expected = 0;
        std::memcpy(&expected, &raw, sizeof expected);
        EXPECT_EQ(m_camera.Convert32bitIEEEToFloat(raw), static_cast<double>(expected)) << exponent;
    }
}

/// Failures before any register is touched, and of each access with a message of its own.
TEST_F(RegisterFeaturesTest, RefusesAndReportsInItsOwnWords) {
    unsigned int direction = 0;
    struct {
        std::function<Error()> operation;
        int failingAccess;
        ErrorType type;
        const char* text;
        int causeLevels;
    } const cases[] = {
        {[&] { return m_camera.GetEmbeddedImageInfo(nullptr); }, -1, ERR_INVALID_PARAMETER,
         "Invalid embedded image information parameter.", 0},
        {[&] { return m_camera.SetEmbeddedImageInfo(nullptr); }, -1, ERR_INVALID_PARAMETER,
         "Invalid embedded image information parameter.", 0},
        {[&] { return m_camera.GetGPIOPinDirection(32, &direction); }, -1, ERR_INVALID_PARAMETER,
         "Invalid GPIO pin value.", 0},
        {[&] { return m_camera.SetGPIOPinDirection(32, 5, false); }, -1, ERR_INVALID_PARAMETER,
         "Invalid GPIO pin value.", 0},
        {[&] { return m_camera.SetGPIOPinDirection(31, 2, false); }, -1, ERR_INVALID_PARAMETER,
         "Invalid direction value for GPIO pin.", 0},
        {[&] { return m_camera.GetGPIOPinDirection(31, &direction); }, 0, ERR_READ_REGISTER_FAILED,
         "Failed to read PIO direction register.", 2},
        {[&] { return m_camera.SetGPIOPinDirection(31, 1, false); }, 0, ERR_READ_REGISTER_FAILED,
         "Failed to read PIO direction register.", 2},
        {[&] { return m_camera.SetGPIOPinDirection(31, 1, false); }, 1, ERR_WRITE_REGISTER_FAILED,
         "Failed to write PIO direction register.", 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Calls().clear();
        Script::Get().registerAccessesUntilFailure = c.failingAccess;
        const Error error = c.operation();
        EXPECT_EQ(error.GetType(), c.type);
        EXPECT_STREQ(error.GetDescription(), c.text);
        EXPECT_EQ(CauseLevels(error), c.causeLevels);
        EXPECT_EQ(Accesses().size(), static_cast<std::size_t>(c.failingAccess + 1));

        EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
        EXPECT_EQ(c.operation(), ERR_NOT_CONNECTED) << "the guard comes first";
        EXPECT_EQ(m_camera.Connect(kSerialNumber), ERR_OK);
    }
}

}  // namespace

}  // namespace Zevrin
