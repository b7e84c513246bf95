#include <algorithm>
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

    /// Runs an operation with each of its register accesses failing in turn, at which it stops and says so,
    /// wrapped by the register operation and `causeLevels - 1` times more; then once without a failure.
    void SweepAccesses(int accesses, int causeLevels, const std::function<Error()>& operation,
                       const std::function<void(int failing)>& check) {
        const auto registers = m_script.registers;
        for (int failing = 0; failing <= accesses; ++failing) {
            SCOPED_TRACE(failing);
            Calls().clear();
            m_script.registers = registers;
            m_script.registerAccessesUntilFailure = failing;
            const Error error = operation();
            EXPECT_TRUE(failing == accesses ? Says(error, ERR_OK, "")
                                            : Says(error, ERR_TIMEOUT, "access refused", causeLevels));
            EXPECT_EQ(CountAccesses(), std::min(failing + 1, accesses)) << "it stops at once";
            check(failing);
        }
        m_script.registerAccessesUntilFailure = -1;
    }
    static int CountAccesses() {
        return static_cast<int>(std::count_if(Calls().begin(), Calls().end(), [](const std::string& call) {
            return call.rfind("IOBase::ReadRegister", 0) == 0 || call.rfind("IOBase::WriteRegister", 0) == 0;
        }));
    }
};

// The third failure leaves the register as the probe wrote it.
TEST_F(RegisterFeaturesTest, EmbeddedInfoIsProbedAndRestored) {
    Register(kEmbedded) = 0x80000403U;
    const unsigned int left[] = {0x80000403U, 0x80000403U, 0x800003FFU, 0x800003FFU, 0x80000403U};
    EmbeddedImageInfo info;
    const auto* bytes = reinterpret_cast<const unsigned char*>(&info);
    const auto query = [&] {
        std::memset(static_cast<void*>(&info), 0x55, sizeof info);
        return m_camera.GetEmbeddedImageInfo(&info);
    };
    SweepAccesses(4, 2, query, [&](int failing) {
        EXPECT_EQ(Register(kEmbedded), left[failing]);
        for (unsigned int item = 0; item < 10; ++item) {
            EXPECT_EQ(bytes[2 * item], failing < 4 ? 0x55 : 1) << item;
            EXPECT_EQ(bytes[2 * item + 1], failing == 0 ? 0x55 : item < 2 ? 1 : 0) << item;
        }
    });
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
    EmbeddedImageInfo info;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.before);
        Register(kEmbedded) = c.before;
        auto* bytes = reinterpret_cast<unsigned char*>(&info);
        for (unsigned int item = 0; item < 10; ++item) {
            bytes[2 * item + 1] = c.onOff[item];
        }
        SweepAccesses(
            2, 2, [&] { return m_camera.SetEmbeddedImageInfo(&info); },
            [&](int failing) { EXPECT_EQ(Register(kEmbedded), failing < 2 ? c.before : c.after); });
        EXPECT_EQ(Calls().back(), Script::CallText("Iso::CacheEmbeddedImageInfo", c.after));
    }
    m_script.failures["Iso::CacheEmbeddedImageInfo"] = ComponentFailure();
    Register(kEmbedded) = 0;
    EXPECT_TRUE(Says(m_camera.SetEmbeddedImageInfo(&info), ERR_FAILED,
                     "Failed to cache the embedded image info.", 1));
    EXPECT_EQ(Register(kEmbedded), 0x202U) << "written, and not put back";
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
    EXPECT_EQ(CountAccesses(), 2) << "written although it is so already";
}

TEST_F(RegisterFeaturesTest, ReadsTablesOfNumbers) {
    m_script.registers = {{0x100, 0x80003000U},
                          {0x104, 0xC0001234U},
                          {0x48D0, 0x3F800000U},
                          {0x48D4, 0xC0000000U},
                          {0x48D8, 0x7F800000U}};
    float values[4095] = {};
    unsigned int count = 9;
    const auto read = [&] { return m_camera.ReadRegValues(0x100, 0x104, values, &count); };
    SweepAccesses(5, 1, read, [&](int failing) { EXPECT_EQ(count, std::max(failing, 2) - 2U); });
    EXPECT_EQ(values[0], 1.0F);
    EXPECT_EQ(values[1], -2.0F);
    EXPECT_EQ(values[2], 99999.0F);

    Register(0x100) = 0x80FFF000U;
    EXPECT_EQ(read(), ERR_OK);
    EXPECT_EQ(count, 4095U) << "no bound of its own";
    for (const unsigned int nothing : {0x00003000U, 0x80000000U, 0x80000FFFU}) {
        Register(0x100) = nothing;
        SweepAccesses(1, 1, read, [&](int) { EXPECT_EQ(count, 0U); });
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
    } const cases[] = {
        {[&] { return m_camera.GetEmbeddedImageInfo(nullptr); }, -1, ERR_INVALID_PARAMETER,
         "Invalid embedded image information parameter."},
        {[&] { return m_camera.SetEmbeddedImageInfo(nullptr); }, -1, ERR_INVALID_PARAMETER,
         "Invalid embedded image information parameter."},
        {[&] { return m_camera.GetGPIOPinDirection(32, &direction); }, -1, ERR_INVALID_PARAMETER,
         "Invalid GPIO pin value."},
        {[&] { return m_camera.SetGPIOPinDirection(32, 5, false); }, -1, ERR_INVALID_PARAMETER,
         "Invalid GPIO pin value."},
        {[&] { return m_camera.SetGPIOPinDirection(31, 2, false); }, -1, ERR_INVALID_PARAMETER,
         "Invalid direction value for GPIO pin."},
        {[&] { return m_camera.GetGPIOPinDirection(31, &direction); }, 0, ERR_READ_REGISTER_FAILED,
         "Failed to read PIO direction register."},
        {[&] { return m_camera.SetGPIOPinDirection(31, 1, false); }, 0, ERR_READ_REGISTER_FAILED,
         "Failed to read PIO direction register."},
        {[&] { return m_camera.SetGPIOPinDirection(31, 1, false); }, 1, ERR_WRITE_REGISTER_FAILED,
         "Failed to write PIO direction register."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Calls().clear();
        m_script.registerAccessesUntilFailure = c.failingAccess;
        EXPECT_TRUE(Says(c.operation(), c.type, c.text, c.failingAccess < 0 ? 0 : 2));
        EXPECT_EQ(CountAccesses(), c.failingAccess + 1);
        EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
        EXPECT_EQ(c.operation(), ERR_NOT_CONNECTED) << "the guard comes first";
        EXPECT_EQ(m_camera.Connect(kSerialNumber), ERR_OK);
    }
}

}  // namespace

}  // namespace Zevrin
