#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "GigeFixture.h"
#include "support/TemporaryFolder.h"

namespace Zevrin {
namespace {

// Registers of the fake camera's memory, as lab.xml lays features over it.
constexpr unsigned int kTemperatureAddress = 0x4048;  // a tenth of a degree Celsius
constexpr unsigned int kFramesLostAddress = 0x4138;

template <typename... Words>
std::string Join(Words... words) {
    std::ostringstream text;
    ((text << words << ' '), ...);
    return text.str().substr(0, text.str().size() - 1);
}

class RegisterViewTest : public GigeTest {
  protected:
    void SetUp() override { StartDescribed("lab.xml"); }

    /// With the first of the marks replaced.
    void StartHostileCamera(const std::string& mark, const std::string& text) {
        std::ifstream file(Describe("hostile.xml"));
        std::string description(std::istreambuf_iterator<char>(file), {});
        ASSERT_NE(description.find(mark), std::string::npos);
        description.replace(description.find(mark), mark.size(), text);
        const TemporaryFolder folder;
        std::ofstream(folder.Path("hostile.xml")) << description;
        StartFakeCamera({"--genicam", folder.Path("hostile.xml")});
    }

    Property Get(PropertyType type) {
        Property property;
        property.type = type;
        EXPECT_OK(m_camera.GetProperty(&property));
        return property;
    }
    PropertyInfo GetInfo(PropertyType type) {
        PropertyInfo info;
        info.type = type;
        EXPECT_OK(m_camera.GetPropertyInfo(&info)) << GetPropertyTypeName(type);
        return info;
    }
};

TEST_F(RegisterViewTest, AbilitiesAndRangesAreTheCamerasOwn) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    ASSERT_OK(m_camera.WriteMemory(kTemperatureAddress, 412));
    const struct {
        PropertyType type;
        const char* text;  ///< auto, manual, one push, switch, absolute, raw and absolute range
    } cases[] = {
        {SHUTTER, "1 1 1 0 1 0 4095 2e-05 0.1"},   {GAIN, "1 1 0 0 1 0 4095 0 24"},
        {BRIGHTNESS, "0 1 0 0 1 0 4095 0 100"},    {SHARPNESS, "0 1 0 0 0 0 7 0 0"},
        {FRAME_RATE, "0 1 0 1 1 0 4095 1 120"},    {WHITE_BALANCE, "1 1 1 0 0 0 4095 0 0"},
        {TRIGGER_DELAY, "0 1 0 0 1 0 4095 0 0.5"}, {TEMPERATURE, "0 0 0 0 1 0 4092 -273.15 136"},
    };
    for (const auto& one : cases) {
        const PropertyInfo info = GetInfo(one.type);
        EXPECT_TRUE(info.present && info.readOutSupported) << GetPropertyTypeName(one.type);
        EXPECT_EQ(Join(info.autoSupported, info.manualSupported, info.onePushSupported, info.onOffSupported,
                       info.absValSupported, info.min, info.max, info.absMin, info.absMax),
                  one.text)
            << GetPropertyTypeName(one.type);
    }
    EXPECT_FLOAT_EQ(Get(TEMPERATURE).absValue, 41.2F);
    CameraStats stats;
    ASSERT_OK(m_camera.WriteMemory(kFramesLostAddress, 5));
    ASSERT_OK(m_camera.GetStats(&stats));
    EXPECT_NEAR(stats.property17Value, 3143.5, 0.6) << "a tenth of a kelvin";
    EXPECT_EQ(Join(stats.transmitFailures, stats.registerReadFailures), "5 0");
    ASSERT_OK(m_camera.ResetStats());
    ASSERT_OK(m_camera.GetStats(&stats));
    EXPECT_EQ(stats.transmitFailures, 0U);

    unsigned int functions = 0;
    ASSERT_OK(m_camera.ReadRegister(0x400, &functions));
    EXPECT_EQ(functions, 0x10000002U) << "optional functions, and two memory channels";

    Format7Info format;
    format.mode = 1;
    ASSERT_OK(m_camera.GetFormat7Info(&format));
    EXPECT_EQ(Join(format.maxWidth, format.maxHeight, format.unitWidth, format.unitHeight, format.unitLeft,
                   format.unitTop),
              "1024 512 16 4 8 2");
    EXPECT_EQ(format.pixelFormatMask, 1U << PIXEL_FORMAT_MONO8 | 1U << PIXEL_FORMAT_MONO16 |
                                          1U << PIXEL_FORMAT_RAW8 | 1U << PIXEL_FORMAT_RAW16);
    EmbeddedImageInfo embedded;
    ASSERT_OK(m_camera.GetEmbeddedImageInfo(&embedded));
    EXPECT_TRUE(embedded.timestamp.available && embedded.timestamp.onOff);

    // Past the components, whose own checks would come first.
    const struct {
        unsigned int address;
        unsigned int value;
        const char* text;
    } refused[] = {
        {0x2078, 0x7FC00000, "it must be 2e-05 to 0.1"},  // absolute value of the shutter: not a number
        {0x2078, 0x3F800000, "it must be 2e-05 to 0.1"},
        {0x20B8, 0x43960000, "cannot be written"},  // of the temperature
        {0x300C, 0x01080080, "Width is to be 264; it must be 16 to 2048 in steps of 16"},
        {0x3008, 0x00030000, "OffsetX is to be 3"},
        {0x3010, 0x04000000, "no colour coding 4"},
        {0x830, 0x82400000, "TriggerSource cannot become Line2"},
        {0x830, 0x82E20000, "no trigger mode 2"},
        {0x2A00, 0x82001000, "must be 0"},  // strobe delay
        {0x608, 0x00000000, "format 7 only"},
        {0x604, 0x40000000, "no mode 2"},
        {0x624, 0x30000000, "memory channel 3"},
        {0x404, 0, "it is read-only"},
        {0x610, 0, "0xFFFF F0F00610"},  // power
    };
    for (const auto& one : refused) {
        EXPECT_TRUE(
            SaysPart(m_camera.WriteRegister(one.address, one.value), ERR_WRITE_REGISTER_FAILED, one.text))
            << std::hex << one.address;
    }
}

TEST_F(RegisterViewTest, NothingWaitsWhenAUserSetIsLoaded) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    Property shutter = Get(SHUTTER);
    const float exposure = shutter.absValue;
    shutter.autoManualMode = shutter.onOff = true;
    ASSERT_OK(m_camera.SetProperty(&shutter));
    ASSERT_OK(m_camera.WriteRegister(0x2078, 0x3D4CCCCD));               // 0.05 s, for when it is manual
    ASSERT_OK(m_camera.WriteRegister(0x3000 + 0x80 + 0xC, 0x00200010));  // 32 x 16, for when mode 1 is chosen
    EXPECT_FLOAT_EQ(Get(SHUTTER).absValue, 0.05F);
    ASSERT_OK(m_camera.RestoreFromMemoryChannel(1));
    EXPECT_FLOAT_EQ(Get(SHUTTER).absValue, exposure);
    unsigned int size = 0;
    ASSERT_OK(m_camera.ReadRegister(0x3000 + 0x80 + 0xC, &size));
    EXPECT_EQ(size, 0x04000200U);
}

TEST_F(RegisterViewTest, SizesThatADeviceTellsAreBounded) {
    StartHostileCamera("4095", "90000000");
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    EXPECT_EQ(m_camera.StartCapture(nullptr, nullptr).GetType(), ERR_VALUE_OUT_OF_RANGE);

    const auto write = [this](unsigned int address, const std::string& text) {
        std::vector<unsigned int> quadlets(text.size() / 4 + 1);
        for (std::size_t index = 0; index < text.size(); ++index) {
            quadlets[index / 4] |= static_cast<unsigned int>(text[index]) << (24 - index % 4 * 8);
        }
        const auto count = static_cast<unsigned int>(quadlets.size());
        ASSERT_OK(m_camera.WriteRegisterBlock(0, address, quadlets.data(), count));
    };
    const struct {
        const char* first;  ///< null: the camera's own
        const char* second;
        const char* fault;
    } cases[] = {
        {nullptr, "http://example.com/camera.xml", nullptr},
        {nullptr, "Local:huge.xml;10000;1000001", "longer than 16 MiB."},
        {"", "http://example.com/camera.xml", "not in the camera's memory"},
        {"Local:bomb.zip;4801;2FD", "", "longer than 16 MiB when it is unpacked"},
    };
    for (const auto& one : cases) {
        StartFakeCamera();
        ASSERT_TRUE(Await([this] { return m_camera.Connect(kSerialNumber) == ERR_OK; }));
        write(0x4800, std::string(600, 'P') + MakeArchiveEntry(0x1000001));
        if (one.first != nullptr) {
            write(0x200, one.first);
        }
        write(0x400, one.second);
        ASSERT_OK(m_camera.Disconnect());
        const Error error = m_camera.Connect(kSerialNumber);
        EXPECT_TRUE(one.fault == nullptr ? IsOk(error) : SaysPart(error, ERR_INVALID_DESCRIPTION, one.fault));
    }
}

TEST_F(RegisterViewTest, WhatTheCameraLacksIsAbsent) {
    StartDescribed("bare.xml");
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    for (unsigned int type = 0; type < kPropertyTypeCount; ++type) {
        EXPECT_FALSE(GetInfo(static_cast<PropertyType>(type)).present) << type;
    }
    // Inquiry and control registers of all that can be inquired, and where their blocks would be.
    for (const unsigned int address : {0x100U, 0x19CU, 0x2E0U, 0x400U, 0x404U, 0x408U, 0x40CU, 0x48CU, 0x490U,
                                       0x51CU, 0x530U, 0x71CU, 0x81CU, 0x830U, 0x880U}) {
        unsigned int value = 1;
        ASSERT_OK(m_camera.ReadRegister(address, &value));
        EXPECT_EQ(value, 0U) << std::hex << address;
    }
    unsigned int value = 0;
    for (const unsigned int address : {0x81CU, 0x830U, 0x62CU, 0x11F8U, 0x2078U, 0x100000U + 0x1000U}) {
        EXPECT_EQ(m_camera.WriteRegister(address, 0x80000000).GetType(), ERR_WRITE_REGISTER_FAILED)
            << std::hex << address;
    }
    EXPECT_EQ(m_camera.ReadRegister(0x11F8, &value).GetType(), ERR_READ_REGISTER_FAILED);
    EXPECT_EQ(m_camera.StartCapture(nullptr, nullptr).GetType(), ERR_FEATURE_ABSENT);
}

TEST_F(RegisterViewTest, NonsenseIsAbsentAndHarmless) {
    std::string entries;
    for (unsigned int number = 0; number < 50000; ++number) {
        entries += "<EnumEntry Name=\"E" + std::to_string(number) + "\"><Value>1</Value></EnumEntry>";
    }
    StartHostileCamera("<!--ENTRIES-->", entries);
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    for (unsigned int type = 0; type < kPropertyTypeCount; ++type) {
        const bool makesSense = type == SHUTTER || type == FRAME_RATE;
        EXPECT_EQ(GetInfo(static_cast<PropertyType>(type)).present, makesSense) << type;
    }
    EXPECT_EQ(GetInfo(SHUTTER).absMax, 3600) << "where the camera names no end";
    EXPECT_EQ(GetInfo(FRAME_RATE).max, 4095U);
    EXPECT_TRUE(SaysPart(m_camera.StartCapture(nullptr, nullptr), ERR_VALUE_OUT_OF_RANGE,
                         "The camera's PayloadSize is 4095 bytes; 64 x 64 pixels of 8 bits take more."));
    // Nothing that can be read or written makes harm; what is written is refused or taken.
    for (unsigned int address = 0; address < 0x4000; address += 4) {
        unsigned int value = 0;
        const Error readError = m_camera.ReadRegister(address, &value);
        const Error writeError = m_camera.WriteRegister(address, 0xFFFFFFFF);
        EXPECT_TRUE(readError == ERR_OK || readError == ERR_READ_REGISTER_FAILED) << readError.GetTrace();
        EXPECT_TRUE(writeError == ERR_OK || writeError == ERR_WRITE_REGISTER_FAILED) << writeError.GetTrace();
    }
}

TEST_F(RegisterViewTest, DescriptionThatDoesNotEndIsRefused) {
    // Each of these comes from the next twice.
    std::string doubling;
    for (unsigned int number = 0; number < 40; ++number) {
        const std::string next = "<pVariable Name=\"X\">N" + std::to_string(number + 1) + "</pVariable>";
        doubling += "<SwissKnife Name=\"N" + std::to_string(number) + "\">" + next + next +
                    "<Formula>X</Formula></SwissKnife>";
    }
    const struct {
        std::string nodes;
        const char* text;
    } cases[] = {
        {"<Integer Name=\"SensorWidth\"><pValue>B</pValue></Integer>"
         "<IntSwissKnife Name=\"B\"><pVariable Name=\"A\">SensorWidth</pVariable><Formula>A</Formula>"
         "</IntSwissKnife>",
         "SensorWidth comes from itself"},
        {doubling, "comes from too many others"},
    };
    for (const auto& one : cases) {
        StartHostileCamera("<!--MORE-->", one.nodes);
        EXPECT_TRUE(SaysPart(m_camera.Connect(kSerialNumber), ERR_INVALID_DESCRIPTION, one.text));
    }
}

TEST_F(RegisterViewTest, ManyThreadsUseOneCameraWhileItStreams) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    ASSERT_OK(m_camera.SetImageSize(64, 64));
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    std::vector<std::thread> threads;
    for (unsigned int output = 0; output < 2; ++output) {
        threads.emplace_back([&, output] {
            StrobeControl strobe;  // whose registers share a selector
            strobe.source = output;
            for (unsigned int round = 0; round < 30; ++round) {
                strobe.onOff = round % 2 != 0;
                strobe.polarity = (round + output) % 2;
                EXPECT_OK(m_camera.SetStrobe(&strobe));
                EXPECT_OK(m_camera.GetStrobe(&strobe));
                EXPECT_EQ(Join(strobe.onOff, strobe.polarity), Join(round % 2, (round + output) % 2))
                    << output;
                const unsigned int written[3] = {output, ~round, round * 7};
                unsigned int read[3] = {};
                EXPECT_OK(m_camera.WriteRegisterBlock(0, 0x6000 + 64 * output, written, 3));
                EXPECT_OK(m_camera.ReadRegisterBlock(0, 0x6000 + 64 * output, read, 3));
                EXPECT_TRUE(std::equal(written, written + 3, read));
                EXPECT_EQ(m_camera.GetStream().GetNumResendPacketsReceived(), 0U);
            }
        });
    }
    Image image;
    for (unsigned int frame = 0; frame < 10; ++frame) {
        EXPECT_OK(m_camera.WaitForBufferEvent(&image, kPatienceMs));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(RegisterViewTest, RegistersInTheCamerasMemoryAreUsedWhereTheyAre) {
    constexpr unsigned int kBlock = 0x8000;
    const std::string serial = std::to_string(kSerialNumber);
    const auto connectWith = [this](const std::string& text) {
        setenv("ZEVRIN_IIDC_BLOCK", text.c_str(), 1);
        const Error error = m_camera.Connect(kSerialNumber);
        unsetenv("ZEVRIN_IIDC_BLOCK");
        return error;
    };
    EXPECT_EQ(connectWith(serial + "=0x8001").GetType(), ERR_INVALID_PARAMETER);
    ASSERT_OK(connectWith("1=0x100," + serial + "=0x8000"));
    ASSERT_OK(m_camera.WriteMemory(kBlock + 0x81C, 0x82000123));
    unsigned int value = 0;
    ASSERT_OK(m_camera.ReadRegister(0x81C, &value));
    EXPECT_EQ(value, 0x82000123);
    ASSERT_OK(m_camera.WriteRegister(kTransmission, 0x80000000));
    ASSERT_OK(m_camera.ReadMemory(kBlock + kTransmission, &value));
    EXPECT_EQ(value, 0x80000000);
    ASSERT_OK(m_camera.WriteMemory(kBlock + 0x2000, 77));
    ASSERT_OK(m_camera.ReadBaseRegister(0xF02000, &value));  // where a camera would say that a block is
    EXPECT_EQ(value, 77U);
    EXPECT_EQ(m_camera.ReadBaseRegister(0x400, &value).GetType(), ERR_READ_REGISTER_FAILED);
}

}  // namespace
}  // namespace Zevrin
