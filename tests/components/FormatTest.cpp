#include "DcamFormat.h"

#include <cstring>

#include "Failure.h"
#include "Format7.h"
#include "Info.h"
#include "RegisterCamera.h"

namespace Zevrin {
namespace {

/// Formats 0 and 7; of format 0 mode 5, with frame rates 3 and 4.
class DcamFormatTest : public RegisterCamera<DcamFormat> {
  protected:
    DcamFormatTest()
        : RegisterCamera("100=81000000 180=4000000 214=18000000 608=E0000000 604=20000000 600=0") {}
};

TEST_F(DcamFormatTest, TellsWhatIsThere) {
    VideoModeInfo info;
    for (const auto& [format, mode] : {std::pair{0U, 7U}, {0U, 4U}, {1U, 5U}, {0U, 5U}}) {
        info.format = format;
        info.mode = mode;
        EXPECT_EQ(m_component.GetVideoModeInfo(&info), ERR_OK);
        EXPECT_EQ(info.present, format == 0 && mode == 5) << format << " " << mode;
    }
    EXPECT_TRUE(info.width == 640 && info.height == 480 && info.pixelFormat == PIXEL_FORMAT_MONO8);
    EXPECT_EQ(info.frameRateMask, 0x18U);
    info.mode = 8;
    EXPECT_EQ(m_component.GetVideoModeInfo(&info), ERR_VALUE_OUT_OF_RANGE);
    VideoModeSetting setting;
    ASSERT_EQ(m_component.GetVideoMode(&setting), ERR_OK);
    EXPECT_TRUE(setting.format == 7 && setting.mode == 1);
    ExpectRefused({m_component.SetVideoMode(nullptr), m_component.GetVideoMode(nullptr),
                   m_component.GetVideoModeInfo(nullptr)});
}

TEST_F(DcamFormatTest, SetsOnlyWhatIsThere) {
    ExpectOutcomes<VideoModeSetting>(
        {{"", {0, 5, 4, {}}, ERR_OK, "608=0 604=A0000000 600=80000000"},
         {"", {7, 0, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 2"},
         {"", {0, 5, 8, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 7"},
         {"", {0, 4, 3, {}}, ERR_INVALID_MODE, "no mode 4 of format 0"},
         {"", {1, 5, 3, {}}, ERR_INVALID_MODE, "no mode 5 of format 1"},
         {"", {0, 5, 5, {}}, ERR_INVALID_MODE, "no frame rate 5"}},
        [&](const VideoModeSetting& setting) { return m_component.SetVideoMode(&setting); });
}

/// Mode 2 of format 7; 1280 x 960 in units of 8 x 4, at 2 x 2, with Mono8, RGB8 and Raw16; packets of 64 to
/// 4096, best 640. The camera is in mode 5 of format 0.
constexpr char kFormat7Registers[] = R"(100=81000000 19C=20000000 2E8=3C0800
2000=50003C0 2004=80004 204C=20002 2014=88200000 2040=401000 2044=10000280
2008=0 200C=50003C0 2010=0 207C=80000000
608=0 604=A0000000 600=60000000)";

class Format7Test : public RegisterCamera<Format7> {
  protected:
    Format7Test() : RegisterCamera(kFormat7Registers) {
        m_pHardware->m_onWrite = [this](unsigned int low, unsigned int value) {
            const unsigned int offset = low - 0xF0F00000U;
            return offset == 0x207C   ? m_pHardware->Register(0x207C)
                   : offset == 0x2044 ? (value & 0xFFFF0000U) | 640
                   : offset == 0x200C && value == 0x27003BC
                       ? 0x28003BC  // 640 columns where 624 are asked for
                       : value;
        };
    }

    const Format7Settings m_settings{2, 648, 2, 632, 956, PIXEL_FORMAT_RGB8, 128, {}};
};

TEST_F(Format7Test, TellsWhatIsThere) {
    Format7Info info;
    info.mode = 2;
    ASSERT_EQ(m_component.GetFormat7Info(&info), ERR_OK);
    EXPECT_TRUE(info.present && info.unitLeft == 2 && info.unitPacketSize == 64);
    Have("204C=0 2040=0");
    ASSERT_EQ(m_component.GetFormat7Info(&info), ERR_OK);
    EXPECT_EQ(info.unitLeft, 8U) << "as cameras of older versions of the standard";
    EXPECT_EQ(info.unitPacketSize, 0U);
    info.mode = 3;
    ASSERT_EQ(m_component.GetFormat7Info(&info), ERR_OK);
    EXPECT_FALSE(info.present);
    info.mode = 8;
    EXPECT_EQ(m_component.GetFormat7Info(&info), ERR_VALUE_OUT_OF_RANGE);
    Format7Settings settings;
    EXPECT_TRUE(SaysPart(m_component.GetFormat7(&settings), ERR_INVALID_MODE, "in format 0"));
    ExpectRefused({m_component.SetFormat7(nullptr), m_component.GetFormat7(nullptr),
                   m_component.GetFormat7Info(nullptr)});
}

TEST_F(Format7Test, SetsWhatFitsAndPutsBackWhatTheCameraDoesNotAccept) {
    ExpectOutcomes<Format7Settings>(
        {{"", m_settings, ERR_OK,
          "608=E0000000 604=40000000 2008=2880002 200C=27803BC 2010=4000000 2044=800280"},
         // The packet size that the camera recommends.
         {"",
          {2, 0, 0, 8, 4, PIXEL_FORMAT_MONO8, 0, {}},
          ERR_OK,
          "608=E0000000 604=40000000 200C=80004 2044=2800280"},
         {"", {8, 0, 0, 8, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 7"},
         {"", {1, 0, 0, 8, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_FEATURE_ABSENT, "mode 1"},
         {"", {2, 0, 0, 0, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "8 to 1280 in steps of 8"},
         {"", {2, 0, 0, 12, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "8 to 1280 in steps of 8"},
         {"", {2, 0, 0, 1288, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "width"},
         {"", {2, 0, 0, 8, 964, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "4 to 960 in steps of 4"},
         {"",
          {2, 642, 0, 640, 4, PIXEL_FORMAT_MONO8, 0, {}},
          ERR_VALUE_OUT_OF_RANGE,
          "0 to 640 in steps of 2"},
         {"", {2, ~1U, 0, 8, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "left edge"},
         {"", {2, 0, 1, 8, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "top edge"},
         {"", {2, 0, 0, 8, 4, PIXEL_FORMAT_YUV422, 0, {}}, ERR_NOT_SUPPORTED, "Mono8, RGB8, Raw16"},
         {"", {2, 0, 0, 8, 4, static_cast<PixelFormat>(40), 0, {}}, ERR_NOT_SUPPORTED, "unknown"},
         {"",
          {2, 0, 0, 8, 4, PIXEL_FORMAT_MONO8, 96, {}},
          ERR_VALUE_OUT_OF_RANGE,
          "64 to 4096 in steps of 64"},
         {"", {2, 0, 0, 8, 4, PIXEL_FORMAT_MONO8, 4160, {}}, ERR_VALUE_OUT_OF_RANGE, "64 to 4096"},
         {"", {2, 0, 0, 624, 956, PIXEL_FORMAT_MONO8, 0, {}}, ERR_INVALID_MODE, "624 x 956"},
         {"207C=80800000", m_settings, ERR_INVALID_MODE, "region of 632 x 956 pixels at 648, 2"},
         {"207C=80400000", m_settings, ERR_INVALID_MODE, "packets of 128 bytes"}},
        [&](const Format7Settings& settings) { return m_component.SetFormat7(&settings); });
    ASSERT_EQ(m_component.SetFormat7(&m_settings), ERR_OK);
    Format7Settings settings;
    ASSERT_EQ(m_component.GetFormat7(&settings), ERR_OK);
    EXPECT_EQ(std::memcmp(&settings, &m_settings, sizeof settings), 0);
}

TEST_F(Format7Test, DoesNotWaitForEverForTheCamera) {
    Format7 impatient(20);
    impatient.SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U);
    ExpectOutcomes<Format7Settings>(
        {{"207C=C0000000", m_settings, ERR_TIMEOUT, "bits 0x40000000 should be 0"}},
        [&](const Format7Settings& settings) { return impatient.SetFormat7(&settings); });
}

class InfoTest : public RegisterCamera<Info> {
  protected:
    InfoTest() : RegisterCamera(kFormat7Registers) { m_pHardware->m_hasOnlyWhatWasSet = false; }

    CameraInfo Get() {
        CameraInfo info;
        EXPECT_EQ(m_component.GetCameraInfo(&info), ERR_OK);
        return info;
    }
};

TEST_F(InfoTest, TakesFromTheFormatsWhatTheIdentityLeavesOpen) {
    EXPECT_EQ(Get().sensorWidth, 0U) << "no IIDC registers, no formats to ask";
    m_pHardware->m_identity.iidcVersion = 131;
    EXPECT_TRUE(Get().sensorWidth == 1280 && Get().sensorHeight == 960 && Get().isColorCamera);
    Have("2014=84000000");
    EXPECT_FALSE(Get().isColorCamera) << "Mono8 and Mono16";
    m_pHardware->m_before = [](const std::string&) { return Failure(ERR_TIMEOUT, "no answer"); };
    m_pHardware->m_identity.modelName = "100% \x01";
    EXPECT_STREQ(Get().modelName, "100\\x25 \\x01") << "what the camera does not answer stays open";
    m_pHardware->m_identity.sensorWidth = 1600;
    m_pHardware->m_identity.sensorHeight = 1200;
    m_pHardware->m_identity.isColor = true;
    EXPECT_TRUE(Get().sensorWidth == 1600 && Get().isColorCamera);
    EXPECT_EQ(m_component.GetRegReadErr(), 1U) << "nothing is open, nothing more is asked";
    EXPECT_EQ(m_component.GetCameraInfo(nullptr), ERR_INVALID_PARAMETER);
}

}  // namespace
}  // namespace Zevrin
