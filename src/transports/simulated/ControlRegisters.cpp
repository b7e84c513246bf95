#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "RegisterFields.h"
#include "SimulatedDevice.h"
#include "VideoFormats.h"

namespace Zevrin {

namespace {

constexpr unsigned int kFormats = 8;
constexpr unsigned int kModesPerFormat = 8;
constexpr unsigned int kRate15 = 3;
constexpr RegisterField kSampleDepth{0, 7};

// The legacy channel and speed, then 1394b mode, channel and speed.
constexpr unsigned int kIsoChannelBits = RegisterField{0, 3}.GetMask() | RegisterField{6, 7}.GetMask() |
                                         RegisterBit(16) | RegisterField{18, 23}.GetMask() |
                                         RegisterField{29, 31}.GetMask();

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
    return device.GetImageSetup().isValid ? 0 : kSwitchBit;
}

unsigned int ReadDataDepth(const SimulatedDevice& device, unsigned int, unsigned int) {
    return kSampleDepth.Make(GetSampleDepth(device.GetImageSetup().format));
}

void MemorySaveWritten(SimulatedDevice& device, unsigned int, unsigned int written, unsigned int) {
    if ((written & kSwitchBit) != 0) {
        device.SaveChannel(kMemoryChannelField.Get(device.GetRegisters().Get(Register::kMemorySaveChannel)));
    }
}

/// The factory's channel 0 cannot be saved to.
void SaveChannelWritten(SimulatedDevice& device, unsigned int offset, unsigned int written,
                        unsigned int before) {
    const unsigned int channel = kMemoryChannelField.Get(written);
    if (channel == 0 || channel > kHighestMemoryChannel) {
        device.GetRegisters().Set(offset, before);
    }
}

void CurrentChannelWritten(SimulatedDevice& device, unsigned int offset, unsigned int written,
                           unsigned int before) {
    const unsigned int channel = kMemoryChannelField.Get(written);
    if (channel > kHighestMemoryChannel) {
        device.GetRegisters().Set(offset, before);
    } else {
        device.LoadChannel(channel);
    }
}

/// Presence of the fixed formats' modes and rates, gathered from the table of modes.
class Inquiry {
  public:
    explicit Inquiry(const CameraDescription& camera) {
        m_formats = RegisterBit(kScalableImageFormat);
        m_modes[kScalableImageFormat] = RegisterBit(0);
        for (const StandardMode& mode : kStandardModes) {
            if (!IsModePresent(mode, camera.width, camera.height, camera.bayer != BAYER_NONE)) {
                continue;
            }
            m_formats |= RegisterBit(mode.format);
            m_modes[mode.format] |= RegisterBit(mode.mode);
            for (unsigned int rate = 0; rate < kStandardFrameRateCount; ++rate) {
                m_rates[mode.format][mode.mode] |= IsRatePresent(mode, rate) ? RegisterBit(rate) : 0;
            }
        }
    }

    void AppendTo(std::vector<RegisterRow>* pRows) const {
        pRows->push_back({Register::kFormatInquiry, 1, 0, m_formats, "V_FORMAT_INQ"});
        for (unsigned int format = 0; format < kFormats; ++format) {
            pRows->push_back({Register::kModeInquiry + 4 * format, 1, 0, m_modes[format], "V_MODE_INQ"});
            for (unsigned int mode = 0; mode < kModesPerFormat && format != kScalableImageFormat; ++mode) {
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

// Advanced features, error status of video modes, optional functions, 1394b, power, one shot, multi shot.
constexpr unsigned int kBasicFunctions = RegisterBit(0) | RegisterBit(1) | RegisterBit(3) | RegisterBit(8) |
                                         RegisterBit(16) | RegisterBit(19) | RegisterBit(20) |
                                         BasicFunction::kHighestMemoryChannel.Make(kHighestMemoryChannel);
constexpr unsigned int kOptionalPio = RegisterBit(1);
constexpr unsigned int kOptionalFunctions = kOptionalPio | OptionalFunction::kStrobe | OptionalFunction::kLut;

}  // namespace

std::vector<RegisterRow> MakeControlRegisters(const CameraDescription& camera) {
    const unsigned int format7 = kVideoModeField.Make(kScalableImageFormat);
    const unsigned int video = kVideoModeField.GetMask();
    const unsigned int channel = kMemoryChannelField.GetMask();
    std::vector<RegisterRow> rows = {
        {Register::kInitialize, 1, 0, 0, "INITIALIZE", nullptr, InitializeWritten},
        {Register::kFormat7CsrInquiry, kModesPerFormat, 0, 0, "V_CSR_INQ_7"},
        {Register::kFormat7CsrInquiry, 1, 0, QuadletOffset(Block::kFormat7), "V_CSR_INQ_7"},
        {Register::kBasicFunctionInquiry, 1, 0, kBasicFunctions, "BASIC_FUNC_INQ"},
        {Register::kOptionalFunctionInquiry, 1, 0, kOptionalFunctions, "OPT_FUNCTION_INQ"},
        {Register::kAdvancedFeatureInquiry, 5, 0, 0, "inquiry of an absent block"},
        {Register::kCurrentFrameRate, 1, video, kVideoModeField.Make(kRate15), "CUR_V_FRM_RATE", nullptr,
         nullptr, true},
        {Register::kCurrentMode, 1, video, 0, "CUR_V_MODE", nullptr, nullptr, true},
        {Register::kCurrentFormat, 1, video, format7, "CUR_V_FORMAT", nullptr, nullptr, true},
        {Register::kIsoChannel, 1, kIsoChannelBits, 0, "ISO_CHANNEL", nullptr, nullptr, false, true},
        {Register::kCameraPower, 1, kSwitchBit, kSwitchBit, "CAMERA_POWER", nullptr, PowerWritten, false,
         true},
        {Register::kTransmission, 1, kSwitchBit, 0, "ISO_EN", nullptr, TransmissionWritten, false, true},
        {Register::kMemorySave, 1, 0, 0, "MEMORY_SAVE", nullptr, MemorySaveWritten, false, true},
        {Register::kMemorySaveChannel, 1, channel, kMemoryChannelField.Make(1), "MEM_SAVE_CH", nullptr,
         SaveChannelWritten, false, true},
        {Register::kCurrentMemoryChannel, 1, channel, 0, "CUR_MEM_CH", nullptr, CurrentChannelWritten, true,
         true},
        {Register::kVideoModeErrorStatus, 1, 0, 0, "VMODE_ERROR_STATUS", ReadVideoModeError},
        {Register::kDataDepth, 1, 0, 0, "DATA_DEPTH", ReadDataDepth},
    };
    Inquiry(camera).AppendTo(&rows);
    return rows;
}

}  // namespace Zevrin
