#include <cmath>

#include "Lut.h"
#include "MemoryChannel.h"
#include "PropertyManager.h"
#include "SimulatedFixture.h"
#include "TestPicture.h"

namespace Zevrin {
namespace {

constexpr const char* kMono = R"({"clock": "manual", "cameras": [{}]})";
constexpr const char* kColor = R"({"clock": "manual", "cameras": [{"bayer": "RGGB"}]})";

/// A component on an opened camera.
template <typename Component>
std::unique_ptr<Component> On(const boost::shared_ptr<HardwareInterface>& pCamera) {
    auto pComponent = std::make_unique<Component>();
    const RegisterBases bases = pCamera->GetRegisterBases();
    pComponent->SetIO(pCamera, bases.initialRegisterSpace, bases.commandRegisters);
    return pComponent;
}

struct ToneCase {
    const char* what;
    std::vector<std::pair<unsigned int, unsigned int>> writes;  // register, value
    std::function<double(double)> expected;                     // of the scene, 0 to 1
};

double Clip(double value) {
    return std::clamp(value, 0.0, 1.0);
}

TEST(SimulatedFeatures, ChangeTheBrightnessOfPixels) {
    const double sixDecibels = std::pow(10, 6 / 20.0);
    const ToneCase table[] = {
        {"nothing", {}, [](double scene) { return scene; }},
        {"half the exposure", {{0x81C, 0x8200007D}}, [](double scene) { return scene / 2; }},
        {"three times the exposure", {{0x81C, 0x820002EE}}, [](double scene) { return Clip(scene * 3); }},
        {"6 dB of gain", {{0x820, 0x8200003C}}, [=](double scene) { return Clip(scene * sixDecibels); }},
        {"gain against exposure",
         {{0x820, 0x8200003C}, {0x81C, 0x8200007D}},
         [=](double scene) { return Clip(scene * sixDecibels / 2); }},
        {"5 per cent more black", {{0x800, 0x820001F4}}, [](double scene) { return Clip(scene + 0.05); }},
        {"gamma 2", {{0x818, 0x820000C8}}, [](double scene) { return std::sqrt(scene); }},
        {"gamma off", {{0x818, 0x800000C8}}, [](double scene) { return scene; }},
        {"auto exposure of -1 EV",
         {{0x804, 0x82000190}, {0x81C, 0x83000000}},
         [](double scene) { return scene / 2; }},
        {"the inverting bank", {{0x10004, 0x80000002}}, [](double scene) { return 1 - scene; }},
        {"test pattern white", {{0x1040, 3}, {0x81C, 0x82000001}}, [](double) { return 1.0; }},
    };
    for (const ToneCase& row : table) {
        const auto pSimulation = MakeSimulation(kMono);
        const auto pCamera = OpenCamera(1001);
        for (const auto& write : row.writes) {
            WriteCommand(*pCamera, write.first, write.second);
        }
        const Picture picture = TakePicture(*pSimulation, *pCamera);
        for (const unsigned int x : {200U, 260U, 300U, 340U, 400U}) {
            const double scene = SceneAt(picture.Phase(x)) / 255.0;
            EXPECT_NEAR(picture.At(x), 255 * row.expected(scene), 1.01) << row.what << " at " << x;
        }
    }
}

TEST(SimulatedFeatures, BalanceColours) {
    const auto pSimulation = MakeSimulation(kColor);
    const auto pCamera = OpenCamera(1001);
    const auto expectColours = [&](const char* what, double red, double green, double blue) {
        const Picture picture = TakePicture(*pSimulation, *pCamera);
        const unsigned int phase = picture.Phase(300);
        EXPECT_NEAR(picture.At(300, 200), 255 * Clip(red * SceneAt(phase) / 255), 1.01) << what;
        EXPECT_NEAR(picture.At(301, 200), 255 * Clip(green * SceneAt(phase + 1 + 85) / 255), 1.01) << what;
        EXPECT_NEAR(picture.At(301, 201), 255 * Clip(blue * SceneAt(phase + 1 + 170) / 255), 1.01) << what;
    };
    expectColours("neutral", 1, 1, 1);
    WriteCommand(*pCamera, 0x80C, 0x82000000 | 128U << 12 | 1023);
    expectColours("red up, blue down", 1023 / 512.0, 1, 0.25);
    WriteCommand(*pCamera, 0x80C, 0x80000000 | 128U << 12 | 1023);
    expectColours("off", 1, 1, 1);
    WriteCommand(*pCamera, 0x80C, 0x86000000);
    EXPECT_EQ(ReadCommand(*pCamera, 0x80C), 0x82000000 | 512U << 12 | 512) << "one push, done";
}

TEST(SimulatedFeatures, EncodeColoursAsTheStandardSays) {
    const auto pSimulation = MakeSimulation(kColor);
    const auto pCamera = OpenCamera(1001);
    WriteCommand(*pCamera, 0x814, 0x82000000);  // no saturation: grey
    const struct {
        unsigned int coding;
        PixelFormat format;
        std::size_t size;
        std::vector<int> group;  // bytes of four pixels; -1: brightness
    } table[] = {
        {0, PIXEL_FORMAT_MONO8, 307200, {-1, -1, -1, -1}},
        {1, PIXEL_FORMAT_YUV411, 460800, {128, -1, -1, 128, -1, -1}},
        {2, PIXEL_FORMAT_YUV422, 614400, {128, -1, 128, -1, 128, -1, 128, -1}},
        {3, PIXEL_FORMAT_YUV444, 921600, {128, -1, 128, 128, -1, 128}},
        {4, PIXEL_FORMAT_RGB8, 921600, {-1, -1, -1, -1, -1, -1}},
        {5, PIXEL_FORMAT_MONO16, 614400, {}},
        {9, PIXEL_FORMAT_RAW8, 307200, {}},
        {10, PIXEL_FORMAT_RAW16, 614400, {}},
    };
    for (const auto& row : table) {
        WriteCommand(*pCamera, 0x8010, row.coding << 24);
        const Picture picture = TakePicture(*pSimulation, *pCamera);
        EXPECT_EQ(picture.info.pixelFormat, row.format);
        EXPECT_EQ(picture.info.receivedSize, row.size) << row.coding;
        EXPECT_EQ(picture.info.bayerFormat, row.coding < 9 ? BAYER_NONE : BAYER_RGGB) << row.coding;
        const std::size_t left = 320 * row.size / 307200;  // pixel 320
        for (std::size_t byte = 0; byte < row.group.size(); ++byte) {
            if (row.group[byte] >= 0) {
                EXPECT_NEAR(picture.At(left + byte), row.group[byte], 1) << row.coding << " byte " << byte;
            }
        }
        if (row.format == PIXEL_FORMAT_RGB8) {
            EXPECT_NEAR(picture.At(left), picture.At(left + 1), 1);
            EXPECT_NEAR(picture.At(left), picture.At(left + 2), 1);
        }
        if (row.format == PIXEL_FORMAT_RAW16) {
            EXPECT_EQ(picture.At(left), SceneAt(picture.Phase(320))) << "big-endian, red";
            EXPECT_EQ(picture.At(left + 1), SceneAt(picture.Phase(320))) << "the full range of 16 bits";
        }
    }
    WriteCommand(*pCamera, 0x8010, 0x04000000);
    WriteCommand(*pCamera, 0x814, 0x820003E8);  // saturation again
    const Picture plain = TakePicture(*pSimulation, *pCamera);
    const unsigned int phase = plain.Phase(320);
    EXPECT_EQ(plain.At(960), SceneAt(phase)) << "red";
    EXPECT_EQ(plain.At(961), SceneAt(phase + 85)) << "green";
    EXPECT_EQ(plain.At(962), SceneAt(phase + 170)) << "blue";
}

TEST(SimulatedFeatures, WorkThroughTheComponents) {
    const auto pSimulation = MakeSimulation(kMono);
    const auto pCamera = OpenCamera(1001);
    const auto pProperties = On<PropertyManager>(pCamera);
    Property shutter;
    shutter.type = SHUTTER;
    ASSERT_TRUE(IsOk(pProperties->GetProperty(&shutter)));
    shutter.absControl = true;
    shutter.absValue = 0.0025F;
    ASSERT_TRUE(IsOk(pProperties->SetProperty(&shutter, false)));
    Property temperature;
    temperature.type = TEMPERATURE;
    pSimulation->AdvanceClock(3600 * kSecond);
    ASSERT_TRUE(IsOk(pProperties->GetProperty(&temperature)));
    EXPECT_NEAR(temperature.absValue, 45, 1) << "warmed up, in degrees Celsius";

    const auto pLut = On<Lut>(pCamera);
    std::vector<unsigned int> entries(1024, 1023);
    std::fill_n(entries.begin(), 256, 0);
    ASSERT_TRUE(IsOk(pLut->SetChannel(1, 0, 1024, entries.data())));
    ASSERT_TRUE(IsOk(pLut->SetActiveBank(1)));
    ASSERT_TRUE(IsOk(pLut->Enable(true)));
    const auto expectThreshold = [&](const char* what) {
        const Picture picture = TakePicture(*pSimulation, *pCamera);
        for (unsigned int x = 300; x < 560; ++x) {
            EXPECT_EQ(picture.At(x), SceneAt(picture.Phase(x)) < 128 ? 0U : 255U) << what << " at " << x;
        }
    };
    expectThreshold("half the exposure, threshold at a quarter");

    const auto pMemory = On<MemoryChannel>(pCamera);
    ASSERT_TRUE(IsOk(pMemory->SaveToMemoryChannel(3)));
    ASSERT_TRUE(IsOk(pMemory->RestoreFromMemoryChannel(0)));
    const Picture factory = TakePicture(*pSimulation, *pCamera);
    EXPECT_EQ(factory.At(300), SceneAt(factory.Phase(300)));
    ASSERT_TRUE(IsOk(pSimulation->Unplug(1001)));
    ASSERT_TRUE(IsOk(pSimulation->Replug(1001)));
    ASSERT_TRUE(IsOk(pCamera->Open()));
    ASSERT_TRUE(IsOk(pMemory->RestoreFromMemoryChannel(3)));
    expectThreshold("restored, after a loss of power");
}

TEST(SimulatedFeatures, AreStampedIntoTheFirstPixels) {
    const auto pSimulation =
        MakeSimulation(R"({"clock": "manual", "cameras": [{"bayer": "RGGB"}, {"embeddedItems": 511}]})");
    const auto pCamera = OpenCamera(1001);
    WriteCommand(*pCamera, 0x820, 0x82000011);
    WriteCommand(*pCamera, 0x8008, 0);
    ASSERT_TRUE(IsOk(pSimulation->SetInput(1001, 1, true)));
    WriteCommand(*pCamera, 0x12F8, 0x800003FF);
    const Picture all = TakePicture(*pSimulation, *pCamera);
    constexpr unsigned int kStamp = 66666667ULL / 125000 << 12 | (66666666 % 125000) * 3072 / 125000;
    const unsigned int expected[] = {kStamp, 0x82000011, 0x820000FA, 0x82000000, 0x82200200,
                                     1,      0,          0x40000000, 0};
    for (std::size_t item = 0; item < std::size(expected); ++item) {
        EXPECT_EQ(all.Quadlet(item), expected[item]) << "item " << item;
    }
    EXPECT_EQ(all.Quadlet(9) >> 20, 0x43951339U >> 20) << "298 K and a bit";
    WriteCommand(*pCamera, 0x12F8, 0x22);
    const Picture two = TakePicture(*pSimulation, *pCamera);
    EXPECT_EQ(two.Quadlet(0), 0x82000011U) << "gain";
    EXPECT_EQ(two.Quadlet(1), 2U) << "frame number";

    const auto pOther = OpenCamera(1002);
    WriteCommand(*pOther, 0x12F8, 0x800003FF);
    EXPECT_EQ(ReadCommand(*pOther, 0x12F8), 0x800001FFU) << "items that the camera lacks do not stick";
}

}  // namespace
}  // namespace Zevrin
