#include <cmath>

#include "ScriptedCamera.h"
#include "TestPicture.h"

namespace Zevrin {
namespace {

double Clip(double value) {
    return std::clamp(value, 0.0, 1.0);
}

const double kSixDecibels = std::pow(10, 6 / 20.0);

TEST(SimulatedFeatures, ChangeTheBrightnessOfPixels) {
    const struct {
        const char* what;
        const char* steps;
        double (*expected)(double);  // of the scene, 0 to 1
    } table[] = {
        {"nothing", "", [](double scene) { return scene; }},
        {"half the exposure", "81C<8200007D", [](double scene) { return scene / 2; }},
        {"the same, absolute", "3078<3B23D70A 81C<C2000000", [](double scene) { return scene / 2; }},
        {"three times the exposure", "81C<820002EE", [](double scene) { return scene * 3; }},
        {"6 dB of gain", "820<8200003C", [](double scene) { return scene * kSixDecibels; }},
        {"5 per cent more black", "800<820001F4", [](double scene) { return scene + 0.05; }},
        {"gamma 2", "818<820000C8", [](double scene) { return std::sqrt(scene); }},
        {"gamma off", "818<800000C8", [](double scene) { return scene; }},
        {"auto exposure of -1 EV", "804<82000190 81C<83000000", [](double scene) { return scene / 2; }},
        {"the inverting bank", "10004<80000002", [](double scene) { return 1 - scene; }},
        {"test pattern white", "1040<3 81C<82000001", [](double) { return 1.0; }},
        {"an entry of the user's", "12000<3FF 10004<80000001",
         [](double scene) { return scene > 0 ? scene : 1; }},
    };
    for (const auto& row : table) {
        ScriptedCamera camera;
        const Picture& picture = camera.Follow(std::string(row.steps) + " take");
        EXPECT_EQ(SceneAt(picture.Phase(308)), 0U);
        for (const unsigned int x : {200U, 260U, 308U, 340U, 400U}) {
            const double scene = SceneAt(picture.Phase(x)) / 255.0;
            EXPECT_NEAR(picture.At(x), 255 * Clip(row.expected(scene)), 1.01) << row.what << " at " << x;
        }
    }
}

TEST(SimulatedFeatures, BalanceTheColoursOfARawMosaic) {
    ScriptedCamera camera(R"("bayer": "GRBG", "interface": "gige")");
    const struct {
        const char* steps;
        double red;
        double blue;
    } table[] = {
        {"take", 1, 1},
        {"80C<820803FF take", 1023 / 512.0, 0.25},
        {"80C<800803FF take", 1, 1},               // off
        {"80C<86000000 80C=82200200 take", 1, 1},  // one push, done
    };
    for (const auto& row : table) {
        const Picture& picture = camera.Follow(row.steps);
        const unsigned int phase = picture.Phase(300);
        EXPECT_EQ(picture.At(300, 200), SceneAt(phase + 85)) << "green";
        EXPECT_NEAR(picture.At(301, 200), 255 * Clip(row.red * SceneAt(phase + 1) / 255), 1.01) << row.steps;
        EXPECT_NEAR(picture.At(300, 201), 255 * Clip(row.blue * SceneAt(phase + 170) / 255), 1.01)
            << row.steps;
        EXPECT_EQ(picture.info.pixelFormat, PIXEL_FORMAT_RAW8);
        EXPECT_EQ(picture.info.bayerFormat, BAYER_GRBG);
        EXPECT_TRUE(picture.info.hasTimeStamp) << "comes beside the image on this interface";
    }
}

TEST(SimulatedFeatures, EncodeColoursAsTheStandardSays) {
    ScriptedCamera camera(R"("bayer": "RGGB")");
    camera.Follow("814<82000000");  // no saturation: grey
    const struct {
        const char* coding;
        PixelFormat format;
        std::size_t size;
        std::vector<int> group;  // bytes of some pixels; -1: brightness
    } table[] = {
        {"8010<0 take", PIXEL_FORMAT_MONO8, 307200, {}},
        {"8010<1000000 take", PIXEL_FORMAT_YUV411, 460800, {128, -1, -1, 128, -1, -1}},
        {"8010<2000000 take", PIXEL_FORMAT_YUV422, 614400, {128, -1, 128, -1, 128, -1, 128, -1}},
        {"8010<3000000 take", PIXEL_FORMAT_YUV444, 921600, {128, -1, 128, 128, -1, 128}},
        {"8010<5000000 take", PIXEL_FORMAT_MONO16, 614400, {}},
        {"8010<9000000 take", PIXEL_FORMAT_RAW8, 307200, {}},
        {"8010<A000000 take", PIXEL_FORMAT_RAW16, 614400, {}},
        {"8010<4000000 take", PIXEL_FORMAT_RGB8, 921600, {}},
    };
    for (const auto& row : table) {
        const Picture& picture = camera.Follow(row.coding);
        EXPECT_EQ(picture.info.pixelFormat, row.format);
        EXPECT_EQ(picture.info.receivedSize, row.size) << row.coding;
        const std::size_t left = 320 * row.size / 307200;  // pixel 320
        unsigned int pixel = 320;
        for (std::size_t byte = 0; byte < row.group.size(); ++byte) {
            const unsigned int phase = picture.Phase(pixel);
            const double brightness =
                0.299 * SceneAt(phase) + 0.587 * SceneAt(phase + 85) + 0.114 * SceneAt(phase + 170);
            EXPECT_NEAR(picture.At(left + byte), row.group[byte] < 0 ? brightness : row.group[byte], 1.5)
                << row.coding;
            pixel += row.group[byte] < 0 ? 1 : 0;
        }
        if (row.format == PIXEL_FORMAT_RAW16) {
            EXPECT_EQ(picture.At(left), SceneAt(picture.Phase(320))) << "big-endian, red";
            EXPECT_EQ(picture.At(left + 1), SceneAt(picture.Phase(320))) << "the full range of 16 bits";
        }
    }
    const Picture& colourful = camera.Follow("814<820003E8 take");
    const unsigned int phase = colourful.Phase(320);
    EXPECT_EQ(colourful.At(960), SceneAt(phase)) << "red";
    EXPECT_EQ(colourful.At(961), SceneAt(phase + 85)) << "green";
    EXPECT_EQ(colourful.At(962), SceneAt(phase + 170)) << "blue";
}

}  // namespace
}  // namespace Zevrin
