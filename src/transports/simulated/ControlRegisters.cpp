#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "RegisterBits.h"
#include "SimulatedDevice.h"
#include "VideoFormats.h"

namespace Zevrin {

namespace {

constexpr unsigned int kFormats = 8;
constexpr unsigned int kModesPerFormat = 8;
constexpr RegisterField kThreeBits{0, 2};
constexpr unsigned int kAdvancedFeatureInquiry = 0x480;
constexpr unsigned int kVideoModeErrorStatus = 0x628;
constexpr RegisterField kIsoSettings{0, 31};

constexpr unsigned int kRate15 = 3;

void InitializeWritten(SimulatedDevice& device, unsigned int, unsigned int written, unsigned int) {
    if ((written & kSwitchBit) != 0) {
        device.ResetToFactory();
    }
}

void PowerWritten(SimulatedDevice& device, unsigned int, unsigned int written, unsigned int) {
    if ((written & kSwitchBit) == 0) {
        device.StopTransmission();
    }
}

void TransmissionWritten(SimulatedDevice& device, unsigned int, unsigned int written, unsigned int) {
    if ((written & kSwitchBit) != 0) {
        device.StartTransmission();
    } else {
        device.StopTransmission();
    }
}

unsigned int ReadVideoModeError(const SimulatedDevice& device, unsigned int, unsigned int) {
    return device.GetImageSetup().isValid ? 0 : RegisterBit(0);
}

/// Presence of the fixed formats' modes and rates, gathered from the table of modes.
class Inquiry {
  public:
    explicit Inquiry(const CameraDescription& camera) {
        m_formats = RegisterBit(kScalableFormat);
        m_modes[kScalableFormat] = RegisterBit(0);
        for (const VideoMode& mode : kVideoModes) {
            if (!IsModePresent(mode, camera.width, camera.height, camera.bayer != BAYER_NONE)) {
                continue;
            }
            m_formats |= RegisterBit(mode.format);
            m_modes[mode.format] |= RegisterBit(mode.mode);
            for (unsigned int rate = 0; rate < kFrameRateCount; ++rate) {
                m_rates[mode.format][mode.mode] |= IsRatePresent(mode, rate) ? RegisterBit(rate) : 0;
            }
        }
    }

    void AppendTo(std::vector<RegisterRow>* pRows) const {
        pRows->push_back({Register::kFormatInquiry, 1, 0, m_formats, "V_FORMAT_INQ"});
        for (unsigned int format = 0; format < kFormats; ++format) {
            pRows->push_back({Register::kModeInquiry + 4 * format, 1, 0, m_modes[format], "V_MODE_INQ"});
            for (unsigned int mode = 0; mode < kModesPerFormat && format != kScalableFormat; ++mode) {
                pRows->push_back({Register::kFrameRateInquiry + 32 * format + 4 * mode, 1, 0,
                                  m_rates[format][mode], "V_RATE_INQ"});
            }
        }
    }

  private:
    unsigned int m_formats = 0;
    unsigned int m_modes[kFormats] = {};
    unsigned int m_rates[kFormats][kModesPerFormat] = {};
};

constexpr unsigned int kBasicFunctions = RegisterBit(0) | RegisterBit(1) | RegisterBit(8) | RegisterBit(16);

}  // namespace

std::vector<RegisterRow> MakeControlRegisters(const CameraDescription& camera) {
    const unsigned int format7 = kThreeBits.Make(kScalableFormat);
    std::vector<RegisterRow> rows = {
        {Register::kInitialize, 1, 0, 0, "INITIALIZE", nullptr, InitializeWritten},
        {Register::kFormat7CsrInquiry, 8, 0, 0, "V_CSR_INQ_7"},
        {Register::kFormat7CsrInquiry, 1, 0, QuadletOffset(Block::kFormat7), "V_CSR_INQ_7"},
        {Register::kBasicFunctionInquiry, 1, 0, kBasicFunctions, "BASIC_FUNC_INQ"},
        {Register::kFeatureHighInquiry, 3, 0, 0, "feature and function inquiry"},
        {kAdvancedFeatureInquiry, 1, 0, QuadletOffset(Block::kAdvanced), "ADV_FEATURE_INQ"},
        {kAdvancedFeatureInquiry + 4, 4, 0, 0, "inquiry of blocks"},
        {0x500, 0x40, 0, 0, "feature inquiry"},
        {Register::kCurrentFrameRate, 1, kThreeBits.GetMask(), kThreeBits.Make(kRate15), "CUR_V_FRM_RATE",
         nullptr, nullptr, true},
        {Register::kCurrentMode, 1, kThreeBits.GetMask(), 0, "CUR_V_MODE", nullptr, nullptr, true},
        {Register::kCurrentFormat, 1, kThreeBits.GetMask(), format7, "CUR_V_FORMAT", nullptr, nullptr, true},
        {Register::kIsoChannel, 1, kIsoSettings.GetMask(), 0, "ISO_CHANNEL"},
        {Register::kCameraPower, 1, kSwitchBit, kSwitchBit, "CAMERA_POWER", nullptr, PowerWritten},
        {Register::kTransmission, 1, kSwitchBit, 0, "ISO_EN", nullptr, TransmissionWritten},
        {0x618, 4, 0, 0, "memory and shots"},
        {kVideoModeErrorStatus, 1, 0, 0, "VMODE_ERROR_STATUS", ReadVideoModeError},
        {0x62C, 1, 0, 0, "SOFTWARE_TRIGGER"},
        {Register::kDataDepth, 1, 0, 8U << 24, "DATA_DEPTH",
         [](const SimulatedDevice& device, unsigned int, unsigned int) {
             return RegisterField{0, 7}.Make(GetSampleDepth(device.GetImageSetup().format));
         }},
        {0x700, 0x40, 0, 0, "inquiry of absolute values"},
        {0x800, 0x40, 0, 0, "features"},
    };
    Inquiry(camera).AppendTo(&rows);
    return rows;
}

}  // namespace Zevrin
