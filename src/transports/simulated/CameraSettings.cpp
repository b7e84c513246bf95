#include "CameraSettings.h"

#include <algorithm>

#include "DeviceLayout.h"
#include "Features.h"
#include "RegisterFields.h"
#include "VideoFormats.h"

namespace Zevrin {

namespace {

constexpr double kNanosecondsPerSecond = 1e9;
constexpr unsigned long long kPacketNs = 125000;  // one packet of a camera each cycle of the bus

unsigned int GetFormat7(const RegisterFile& registers, unsigned int offset) {
    return registers.Get(Block::kFormat7 + offset);
}

unsigned int GetFormat7PacketSize(const RegisterFile& registers) {
    const unsigned int chosen =
        BytesPerPacket::kSize.Get(GetFormat7(registers, Format7Block::kBytesPerPacket));
    return chosen != 0 ? chosen : kMaxBytesPerPacket;
}

ImageSetup ReadFormat7(const RegisterFile& registers) {
    const unsigned int position = GetFormat7(registers, Format7Block::kImagePosition);
    const unsigned int size = GetFormat7(registers, Format7Block::kImageSize);
    ImageSetup setup;
    setup.left = kHorizontalField.Get(position);
    setup.top = kVerticalField.Get(position);
    setup.width = kHorizontalField.Get(size);
    setup.height = kVerticalField.Get(size);
    setup.format = ToPixelFormat(kColorCodingField.Get(GetFormat7(registers, Format7Block::kColorCoding)));
    return setup;
}

/// The frame rate feature rules in format 7 as far as the packets allow; without it, frames follow each other
/// as fast as exposure and packets allow.
double ReadFormat7Period(const RegisterFile& registers) {
    const double fastest = GetFormat7PacketsPerFrame(registers) / kPacketsPerSecond;
    const double wanted = IsFeatureOn(registers, kFrameRate) ? 1 / GetFeatureValue(registers, kFrameRate)
                                                             : GetFeatureValue(registers, kShutter);
    return std::max(fastest, wanted);
}

unsigned int GetVideo(const RegisterFile& registers, unsigned int offset) {
    return kVideoModeField.Get(registers.Get(offset));
}

}  // namespace

std::size_t ImageSetup::GetSize() const {
    return GetImageSize(width, height, format);
}

std::size_t GetFormat7Size(const RegisterFile& registers) {
    return ReadFormat7(registers).GetSize();
}

unsigned int GetFormat7PacketsPerFrame(const RegisterFile& registers) {
    const std::size_t packet = GetFormat7PacketSize(registers);
    return static_cast<unsigned int>(
        std::max<std::size_t>(1, (GetFormat7Size(registers) + packet - 1) / packet));
}

bool IsFormat7RegionValid(const RegisterFile& registers, const CameraDescription& camera) {
    const ImageSetup setup = ReadFormat7(registers);
    return setup.width != 0 && setup.height != 0 && setup.width % kPixelUnitX == 0 &&
           setup.left % kPixelUnitX == 0 && setup.height % kPixelUnitY == 0 && setup.top % kPixelUnitY == 0 &&
           setup.left + setup.width <= camera.width && setup.top + setup.height <= camera.height &&
           IsCodingPresent(setup.format, camera.bayer != BAYER_NONE);
}

bool IsFormat7PacketValid(const RegisterFile& registers) {
    const unsigned int size = GetFormat7PacketSize(registers);
    return size % kPacketUnit == 0 && size <= kMaxBytesPerPacket;
}

ImageSetup ReadImageSetup(const RegisterFile& registers, const CameraDescription& camera) {
    const unsigned int format = GetVideo(registers, Register::kCurrentFormat);
    const unsigned int mode = GetVideo(registers, Register::kCurrentMode);
    if (format == kScalableImageFormat) {
        ImageSetup setup = ReadFormat7(registers);
        setup.isValid =
            mode == 0 && IsFormat7RegionValid(registers, camera) && IsFormat7PacketValid(registers);
        setup.period = ReadFormat7Period(registers);
        setup.readoutNs = GetFormat7PacketsPerFrame(registers) * kPacketNs;
        return setup;
    }
    ImageSetup setup;
    const unsigned int rate = GetVideo(registers, Register::kCurrentFrameRate);
    if (const StandardMode* pMode = FindStandardMode(format, mode)) {
        setup.width = pMode->width;
        setup.height = pMode->height;
        setup.format = pMode->pixelFormat;
        setup.period = 1 / GetStandardFrameRate(rate);
        setup.readoutNs = (setup.GetSize() + kMaxBytesPerPacket - 1) / kMaxBytesPerPacket * kPacketNs;
        setup.isValid = IsRatePresent(*pMode, rate) &&
                        IsModePresent(*pMode, camera.width, camera.height, camera.bayer != BAYER_NONE);
    }
    return setup;
}

TriggerSettings ReadTrigger(const RegisterFile& registers) {
    const unsigned int word = registers.Get(Register::kTriggerMode);
    TriggerSettings trigger;
    trigger.isOn = (word & TriggerControl::kOnOff) != 0;
    trigger.isActiveHigh = TriggerControl::kPolarity.Get(word) != 0;
    trigger.source = TriggerControl::kSource.Get(word);
    trigger.mode = TriggerControl::kMode.Get(word);
    trigger.parameter = TriggerControl::kParameter.Get(word);
    if (IsFeatureOn(registers, kTriggerDelay)) {
        trigger.delayNs = static_cast<unsigned long long>(GetFeatureValue(registers, kTriggerDelay) *
                                                          kNanosecondsPerSecond);
    }
    return trigger;
}

unsigned long long ReadShutterNs(const RegisterFile& registers) {
    // Rounded: single precision is not exact to the nanosecond.
    constexpr double kStep = 1000;
    return static_cast<unsigned long long>(
               std::max(1.0, GetFeatureValue(registers, kShutter) * kNanosecondsPerSecond / kStep + 0.5)) *
           static_cast<unsigned long long>(kStep);
}

}  // namespace Zevrin
