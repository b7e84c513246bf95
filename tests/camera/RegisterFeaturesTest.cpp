#include <algorithm>
#include <cmath>
#include <cstring>

#include "Fixture.h"
#include "zevrin/EmbeddedImageInfo.h"

namespace Zevrin {
namespace {

constexpr unsigned int kEmbedded = 0x12F8;
constexpr unsigned int kDirection = 0x11F8;

class RegisterFeaturesTest : public CameraTest {
  protected:
    static unsigned int& Register(unsigned int address) { return Script::Get().registers[address]; }

    static int CountAccesses() {
        return static_cast<int>(std::count_if(Calls().begin(), Calls().end(), [](const std::string& call) {
            return call.rfind("IOBase::ReadRegister", 0) == 0 || call.rfind("IOBase::WriteRegister", 0) == 0;
        }));
    }
};

TEST_F(RegisterFeaturesTest, EmbeddedInfoIsProbedAndRestored) {
    Register(kEmbedded) = 0x80000403U;
    EmbeddedImageInfo info;
    const auto* bytes = reinterpret_cast<const unsigned char*>(&info);
    std::memset(static_cast<void*>(&info), 0x55, sizeof info);
    EXPECT_EQ(m_camera.GetEmbeddedImageInfo(&info), ERR_OK);
    EXPECT_EQ(Register(kEmbedded), 0x80000403U);
    for (unsigned int item = 0; item < 10; ++item) {
        EXPECT_EQ(bytes[2 * item], 1) << item;
        EXPECT_EQ(bytes[2 * item + 1], item < 2 ? 1 : 0) << item;
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
    EmbeddedImageInfo info;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.before);
        Register(kEmbedded) = c.before;
        auto* bytes = reinterpret_cast<unsigned char*>(&info);
        for (unsigned int item = 0; item < 10; ++item) {
            bytes[2 * item + 1] = c.onOff[item];
        }
        EXPECT_EQ(m_camera.SetEmbeddedImageInfo(&info), ERR_OK);
        EXPECT_EQ(Register(kEmbedded), c.after);
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
    EXPECT_EQ(read(), ERR_OK);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(values[0], 1.0F);
    EXPECT_EQ(values[1], -2.0F);
    EXPECT_EQ(values[2], 99999.0F);

    Register(0x100) = 0x80FFF000U;
    EXPECT_EQ(read(), ERR_OK);
    EXPECT_EQ(count, 4095U) << "no bound of its own";
    for (const unsigned int nothing : {0x00003000U, 0x80000000U, 0x80000FFFU}) {
        Register(0x100) = nothing;
        Calls().clear();
        EXPECT_EQ(read(), ERR_OK);
        EXPECT_EQ(count, 0U);
        EXPECT_EQ(CountAccesses(), 1);
    }
}

TEST_F(RegisterFeaturesTest, ConvertsEveryKindOfNumber) {
    // Infinities, what is no number, and the zeros, which have no sign.
    const std::map<unsigned int, double> special = {{0x7F800000U, 99999.0}, {0xFF800000U, -99999.0},
                                                    {0x7FC00000U, 99999.0}, {0xFFC00000U, 99999.0},
                                                    {0xFF800001U, 99999.0}, {0, 0.0},
                                                    {0x80000000U, 0.0}};
    for (const auto& [raw, expected] : special) {
        const double value = m_camera.Convert32bitIEEEToFloat(raw);
        EXPECT_EQ(value, expected) << std::hex << raw;
        EXPECT_EQ(std::signbit(value), std::signbit(expected)) << std::hex << raw;
    }
    for (unsigned int exponent = 0; exponent < 255; ++exponent) {
        for (const unsigned int rest : {0x00000001U, 0x80000001U, 0x007FFFFFU, 0x00400000U, 0x80123456U}) {
            const unsigned int raw = exponent << 23 | rest;
            float expected = 0;
            std::memcpy(&expected, &raw, sizeof expected);
            EXPECT_EQ(m_camera.Convert32bitIEEEToFloat(raw), static_cast<double>(expected)) << raw;
        }
    }
}

/// Before any register is touched.
TEST_F(RegisterFeaturesTest, RefusesInItsOwnWords) {
    unsigned int direction = 0;
    constexpr auto kNoInfo = "Invalid embedded image information parameter.";
    struct {
        std::function<Error()> operation;
        const char* text;
    } const cases[] = {
        {[&] { return m_camera.GetEmbeddedImageInfo(nullptr); }, kNoInfo},
        {[&] { return m_camera.SetEmbeddedImageInfo(nullptr); }, kNoInfo},
        {[&] { return m_camera.GetGPIOPinDirection(32, &direction); }, "Invalid GPIO pin value."},
        {[&] { return m_camera.SetGPIOPinDirection(32, 5, false); }, "Invalid GPIO pin value."},
        {[&] { return m_camera.SetGPIOPinDirection(31, 2, false); }, "Invalid direction value for GPIO pin."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Calls().clear();
        EXPECT_TRUE(Says(c.operation(), ERR_INVALID_PARAMETER, c.text));
        EXPECT_EQ(CountAccesses(), 0);
        EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
        EXPECT_EQ(c.operation(), ERR_NOT_CONNECTED) << "the guard comes first";
        EXPECT_EQ(m_camera.Connect(kSerialNumber), ERR_OK);
    }
}

}  // namespace
}  // namespace Zevrin
