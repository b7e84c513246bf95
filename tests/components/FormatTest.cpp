#include "DcamFormat.h"

#include <cstring>

#include "Format7.h"
#include "Info.h"
#include "RegisterCamera.h"

namespace Zevrin {
namespace {

constexpr unsigned int kFormatRegister = 0x608;
constexpr unsigned int kModeRegister = 0x604;
constexpr unsigned int kRateRegister = 0x600;

class DcamFormatTest : public RegisterCamera<DcamFormat> {
  protected:
    DcamFormatTest() {
        m_pHardware->m_hasOnlyWhatWasSet = true;
        // Formats 0 and 7; of format 0 mode 5, with frame rates 3 and 4.
        SetRegisters({{0x100, 0x81000000U}, {0x180, 0x04000000}, {0x214, 0x18000000}});
        SetRegisters({{kFormatRegister, 0xE0000000U}, {kModeRegister, 0x20000000}, {kRateRegister, 0}});
    }
};

TEST_F(DcamFormatTest, TellsWhatIsThere) {
    VideoModeInfo info;
    info.mode = 5;
    ASSERT_EQ(m_component.GetVideoModeInfo(&info), ERR_OK);
    EXPECT_TRUE(info.present);
    EXPECT_EQ(info.width * 1000 + info.height, 640480U);
    EXPECT_EQ(info.pixelFormat, PIXEL_FORMAT_MONO8);
    EXPECT_EQ(info.frameRateMask, 0x18U);
    for (const auto& [format, mode] : {std::pair{0U, 7U}, {0U, 4U}, {1U, 5U}}) {
        info.format = format;
        info.mode = mode;
        EXPECT_EQ(m_component.GetVideoModeInfo(&info), ERR_OK);
        EXPECT_FALSE(info.present) << format << " " << mode;
    }
    info.format = 7;
    EXPECT_EQ(m_component.GetVideoModeInfo(&info), ERR_VALUE_OUT_OF_RANGE);
    info.format = 0;
    info.mode = 8;
    EXPECT_EQ(m_component.GetVideoModeInfo(&info), ERR_VALUE_OUT_OF_RANGE);
    VideoModeSetting setting;
    ASSERT_EQ(m_component.GetVideoMode(&setting), ERR_OK);
    EXPECT_EQ(setting.format * 10 + setting.mode, 71U);
}

TEST_F(DcamFormatTest, SetsOnlyWhatIsThere) {
    const struct {
        VideoModeSetting setting;
        ErrorType error;
        const char* text;
    } rows[] = {
        {{7, 0, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 2"},
        {{0, 5, 8, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 7"},
        {{0, 4, 3, {}}, ERR_INVALID_MODE, "no mode 4 of format 0"},
        {{1, 5, 3, {}}, ERR_INVALID_MODE, "no mode 5 of format 1"},
        {{0, 5, 5, {}}, ERR_INVALID_MODE, "no frame rate 5"},
    };
    ExpectRefusals(rows, [&](const auto& row) { return m_component.SetVideoMode(&row.setting); });
    const VideoModeSetting setting{0, 5, 4, {}};
    EXPECT_EQ(m_component.SetVideoMode(&setting), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(kFormatRegister), 0U);
    EXPECT_EQ(m_pHardware->Register(kModeRegister), 0xA0000000U);
    EXPECT_EQ(m_pHardware->Register(kRateRegister), 0x80000000U);
    ExpectRefused({m_component.SetVideoMode(nullptr), m_component.GetVideoMode(nullptr),
                   m_component.GetVideoModeInfo(nullptr)});
}

constexpr unsigned int kBlock = 0xF02000U;
constexpr unsigned int kValueSettingAddress = 0xF0000000U + kBlock + 0x7C;
constexpr unsigned int kPacketAddress = 0xF0000000U + kBlock + 0x44;

/// The registers of a camera with mode 2 of format 7, 1280 x 960 in units of 8 x 4, at 2 x 2, with Mono8,
/// RGB8 and Raw16.
template <typename Component>
class Format7Camera : public RegisterCamera<Component> {
  protected:
    Format7Camera() {
        this->SetRegisters({{0x100, 0x81000000U}, {0x19C, 0x20000000}, {0x2E8, kBlock / 4}});
        this->SetRegisters({{kFormatRegister, 0}, {kModeRegister, 0xA0000000U}, {kRateRegister, 0x60000000}});
        this->SetBlock(kBlock, {{0x00, 1280 << 16 | 960},
                                {0x04, 8 << 16 | 4},
                                {0x08, 0},
                                {0x0C, 1280 << 16 | 960},
                                {0x10, 0},
                                {0x14, 0x88200000U},
                                {0x40, 64 << 16 | 4096},
                                {0x44, 4096U << 16 | 640},
                                {0x4C, 2 << 16 | 2},
                                {0x7C, 0x80000000U}});
    }
};

class Format7Test : public Format7Camera<Format7> {
  protected:
    Format7Test() {
        m_pHardware->m_hasOnlyWhatWasSet = true;
        m_pHardware->m_onWrite = [this](unsigned int low, unsigned int value) {
            if (low == kValueSettingAddress) {
                return m_valueSetting;
            }
            return low == kPacketAddress ? (value & 0xFFFF0000U) | 640 : value;
        };
    }

    unsigned int m_valueSetting = 0x80000000U;
    const Format7Settings m_settings{2, 648, 2, 632, 956, PIXEL_FORMAT_RGB8, 128, {}};
};

TEST_F(Format7Test, TellsWhatIsThere) {
    Format7Info info;
    info.mode = 2;
    ASSERT_EQ(m_component.GetFormat7Info(&info), ERR_OK);
    EXPECT_TRUE(info.present);
    EXPECT_EQ(info.maxWidth * 1000 + info.maxHeight, 1280960U);
    EXPECT_EQ(info.unitWidth * 10 + info.unitHeight, 84U);
    EXPECT_EQ(info.unitLeft * 10 + info.unitTop, 22U);
    EXPECT_EQ(info.pixelFormatMask,
              1U << PIXEL_FORMAT_MONO8 | 1U << PIXEL_FORMAT_RGB8 | 1U << PIXEL_FORMAT_RAW16);
    EXPECT_EQ(info.unitPacketSize, 64U);
    EXPECT_EQ(info.maxPacketSize, 4096U);
    SetBlock(kBlock, {{0x4C, 0}, {0x40, 0}});
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
}

TEST_F(Format7Test, SetsAndTellsTheSame) {
    ASSERT_EQ(m_component.SetFormat7(&m_settings), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(kFormatRegister), 0xE0000000U);
    EXPECT_EQ(m_pHardware->Register(kModeRegister), 0x40000000U);
    EXPECT_EQ(m_pHardware->Base(kBlock + 0x08), 648U << 16 | 2);
    EXPECT_EQ(m_pHardware->Base(kBlock + 0x0C), 632U << 16 | 956);
    EXPECT_EQ(m_pHardware->Base(kBlock + 0x10), 0x04000000U);
    Format7Settings settings;
    ASSERT_EQ(m_component.GetFormat7(&settings), ERR_OK);
    EXPECT_EQ(std::memcmp(&settings, &m_settings, sizeof settings), 0);
    settings.packetSize = 0;
    ASSERT_EQ(m_component.SetFormat7(&settings), ERR_OK);
    EXPECT_EQ(m_pHardware->Base(kBlock + 0x44) >> 16, 640U) << "the one that the camera recommends";
}

TEST_F(Format7Test, RefusesWhatDoesNotFit) {
    const struct {
        Format7Settings settings;
        ErrorType error;
        const char* text;
    } rows[] = {
        {{8, 0, 0, 8, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 7"},
        {{1, 0, 0, 8, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_FEATURE_ABSENT, "mode 1"},
        {{2, 0, 0, 0, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "8 to 1280 in steps of 8"},
        {{2, 0, 0, 12, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "8 to 1280 in steps of 8"},
        {{2, 0, 0, 1288, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "width"},
        {{2, 0, 0, 8, 964, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "4 to 960 in steps of 4"},
        {{2, 642, 0, 640, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "0 to 640 in steps of 2"},
        {{2, 0xFFFFFFFEU, 0, 8, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "left edge"},
        {{2, 0, 1, 8, 4, PIXEL_FORMAT_MONO8, 0, {}}, ERR_VALUE_OUT_OF_RANGE, "top edge"},
        {{2, 0, 0, 8, 4, PIXEL_FORMAT_YUV422, 0, {}}, ERR_NOT_SUPPORTED, "Mono8, RGB8, Raw16"},
        {{2, 0, 0, 8, 4, static_cast<PixelFormat>(40), 0, {}}, ERR_NOT_SUPPORTED, "unknown"},
        {{2, 0, 0, 8, 4, PIXEL_FORMAT_MONO8, 96, {}}, ERR_VALUE_OUT_OF_RANGE, "64 to 4096 in steps of 64"},
        {{2, 0, 0, 8, 4, PIXEL_FORMAT_MONO8, 4160, {}}, ERR_VALUE_OUT_OF_RANGE, "64 to 4096"},
    };
    ExpectRefusals(rows, [&](const auto& row) { return m_component.SetFormat7(&row.settings); });
    ExpectRefused({m_component.SetFormat7(nullptr), m_component.GetFormat7(nullptr),
                   m_component.GetFormat7Info(nullptr)});
}

TEST_F(Format7Test, PutsBackWhatTheCameraDoesNotAccept) {
    const FakeHardware::Memory before = m_pHardware->GetMemory();
    const auto expectRefusal = [&](const char* what, ErrorType type, const char* text) {
        SCOPED_TRACE(what);
        EXPECT_TRUE(SaysPart(m_component.SetFormat7(&m_settings), type, text));
        FakeHardware::Memory after = m_pHardware->GetMemory();
        after[0xFFFF00000000ULL | kValueSettingAddress] = 0x80000000U;
        EXPECT_EQ(after, before);
        m_pHardware->SetMemory(before);
    };
    m_valueSetting = 0x80800000U;
    expectRefusal("error flag 1", ERR_INVALID_MODE, "region of 632 x 956 pixels at 648, 2");
    m_valueSetting = 0x80400000U;
    expectRefusal("error flag 2", ERR_INVALID_MODE, "packets of 128 bytes");
    m_valueSetting = 0x80000000U;
    const auto obedient = m_pHardware->m_onWrite;
    m_pHardware->m_onWrite = [&](unsigned int low, unsigned int value) {
        return low == 0xF0000000U + kBlock + 0x0C && value == (632U << 16 | 956) ? 640U << 16 | 956
                                                                                 : obedient(low, value);
    };
    expectRefusal("a size that does not stick", ERR_INVALID_MODE, "632 x 956");
}

TEST_F(Format7Test, DoesNotWaitForEverForTheCamera) {
    Format7 impatient(20);
    impatient.SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U);
    m_valueSetting = 0xC0000000U;
    EXPECT_EQ(impatient.SetFormat7(&m_settings), ERR_TIMEOUT);
    EXPECT_EQ(m_pHardware->Register(kFormatRegister), 0U);
}

class InfoTest : public Format7Camera<Info> {
  protected:
    CameraInfo Get() {
        CameraInfo info;
        EXPECT_EQ(m_component.GetCameraInfo(&info), ERR_OK);
        return info;
    }
};

TEST_F(InfoTest, TakesFromTheFormatsWhatTheIdentityLeavesOpen) {
    m_pHardware->m_identity.iidcVersion = 131;
    EXPECT_EQ(Get().sensorWidth, 1280U);
    EXPECT_EQ(Get().sensorHeight, 960U);
    EXPECT_TRUE(Get().isColorCamera);
    SetBlock(kBlock, {{0x14, 0x84000000U}});
    EXPECT_FALSE(Get().isColorCamera) << "Mono8 and Mono16";
    m_pHardware->m_identity.sensorWidth = 1600;
    m_pHardware->m_identity.sensorHeight = 1200;
    EXPECT_EQ(Get().sensorWidth, 1600U);
    m_pHardware->m_identity.isColor = true;
    m_pHardware->FailAccess(0);
    EXPECT_TRUE(Get().isColorCamera);
    EXPECT_EQ(m_pHardware->GetAccesses(), 0U) << "nothing is open";
}

TEST_F(InfoTest, DoesWithoutWhatTheCameraDoesNotAnswer) {
    EXPECT_EQ(Get().sensorWidth, 0U) << "no IIDC registers, no formats to ask";
    m_pHardware->m_identity.iidcVersion = 131;
    m_pHardware->m_identity.modelName = "100% \x01";
    for (unsigned int n = 1; n < 10; ++n) {
        m_pHardware->FailAccess(n);
        EXPECT_STREQ(Get().modelName, "100\\x25 \\x01");
    }
    EXPECT_EQ(m_component.GetCameraInfo(nullptr), ERR_INVALID_PARAMETER);
}

}  // namespace
}  // namespace Zevrin
