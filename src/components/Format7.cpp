#include "Format7.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <string>

#include "Failure.h"
#include "RegisterFields.h"
#include "RegisterSequence.h"
#include "Registers.h"
#include "StandardModes.h"

namespace Zevrin {

/// Values of the registers of one mode.
struct Format7::Region {
    unsigned int position = 0;
    unsigned int size = 0;
    unsigned int coding = 0;
};

/// What a change is taken back to.
struct Format7::Present {
    unsigned int format = 0;
    unsigned int mode = 0;
    Region region;
    unsigned int bytesPerPacket = 0;
};

namespace {

unsigned int MakePair(unsigned int horizontal, unsigned int vertical) {
    return kHorizontalField.Make(horizontal) | kVerticalField.Make(vertical);
}

/// A unit that a camera leaves at 0 is one pixel.
unsigned int GetUnit(RegisterField field, unsigned int word) {
    return std::max(field.Get(word), 1U);
}

bool HasFormat(unsigned int mask, PixelFormat format) {
    const auto number = static_cast<unsigned int>(format);
    return number <= PIXEL_FORMAT_RAW16 && (mask >> number & 1) != 0;
}

std::string ListFormats(unsigned int mask) {
    std::string list;
    for (int number = PIXEL_FORMAT_MONO8; number <= PIXEL_FORMAT_RAW16; ++number) {
        const auto format = static_cast<PixelFormat>(number);
        if (HasFormat(mask, format)) {
            list += (list.empty() ? "" : ", ") + std::string(GetPixelFormatName(format));
        }
    }
    return list.empty() ? "none" : list;
}

/// Whether one direction of a region fits: its size from one unit to the sensor's, its start on a unit.
Error CheckExtent(const char* sizeName, const char* startName, unsigned int size, unsigned int start,
                  unsigned int sizeUnit, unsigned int startUnit, unsigned int max) {
    if (size == 0 || size % sizeUnit != 0 || size > max) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The %s of the region is to be %u pixels; it must be %u to %u in steps of %u.",
                       sizeName, size, sizeUnit, max, sizeUnit);
    }
    if (start % startUnit != 0 || start > max - size) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The %s edge of the region is to be %u; with a %s of %u pixels it must be 0 to %u in "
                       "steps of %u.",
                       startName, start, sizeName, size, max - size, startUnit);
    }
    return Error();
}

Error CheckMode(unsigned int mode) {
    return mode <= kMaxVideoMode
               ? Error()
               : Failure(ERR_VALUE_OUT_OF_RANGE, "The mode of format 7 is %u; it must be 0 to %u.", mode,
                         kMaxVideoMode);
}

bool HasValueSetting(RegisterSequence& camera, unsigned int block) {
    return (camera.ReadBase(block + Format7Block::kValueSetting) & ValueSetting::kPresence) != 0;
}

}  // namespace

Error Format7::ReadInfo(IOBase& io, unsigned int mode, Format7Info* pInfo, unsigned int* pBlock) {
    *pInfo = Format7Info();
    pInfo->mode = mode;
    *pBlock = 0;
    RegisterSequence camera(io);
    const unsigned int modeRegister = Register::kModeInquiry + kRegisterSize * kScalableImageFormat;
    if ((camera.Read(Register::kFormatInquiry) & RegisterBit(kScalableImageFormat)) != 0 &&
        (camera.Read(modeRegister) & RegisterBit(mode)) != 0) {
        *pBlock = camera.FindBlock(Register::kFormat7CsrInquiry + kRegisterSize * mode);
    }
    if (camera.HasFailed() || *pBlock == 0) {
        return camera.GetError();
    }
    const unsigned int maxSize = camera.ReadBase(*pBlock + Format7Block::kMaxImageSize);
    const unsigned int unitSize = camera.ReadBase(*pBlock + Format7Block::kUnitSize);
    const unsigned int codings = camera.ReadBase(*pBlock + Format7Block::kColorCodingInquiry);
    const unsigned int packets = camera.ReadBase(*pBlock + Format7Block::kPacketParameters);
    const unsigned int unitPosition = camera.ReadBase(*pBlock + Format7Block::kUnitPosition);
    pInfo->present = true;
    pInfo->maxWidth = kHorizontalField.Get(maxSize);
    pInfo->maxHeight = kVerticalField.Get(maxSize);
    pInfo->unitWidth = GetUnit(kHorizontalField, unitSize);
    pInfo->unitHeight = GetUnit(kVerticalField, unitSize);
    // Cameras older than version 1.30 of the standard have no units of position: those of size hold.
    pInfo->unitLeft = GetUnit(kHorizontalField, unitPosition != 0 ? unitPosition : unitSize);
    pInfo->unitTop = GetUnit(kVerticalField, unitPosition != 0 ? unitPosition : unitSize);
    for (unsigned int coding = kColorCodingFlags.first; coding <= kColorCodingFlags.last; ++coding) {
        if ((codings & RegisterBit(coding)) != 0) {
            pInfo->pixelFormatMask |= 1U << ToPixelFormat(coding);
        }
    }
    pInfo->maxPacketSize = PacketParameters::kMaximum.Get(packets);
    pInfo->unitPacketSize = pInfo->maxPacketSize != 0 ? PacketParameters::kUnit.Get(packets) : 0;
    return camera.GetError();
}

Error Format7::GetFormat7Info(Format7Info* pInfo) {
    if (pInfo == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The information on format 7 needs a record to go to.");
    }
    Error error = CheckMode(pInfo->mode);
    Format7Info info;
    unsigned int block = 0;
    if (error == ERR_OK) {
        error = ReadInfo(*this, pInfo->mode, &info, &block);
    }
    if (error == ERR_OK) {
        *pInfo = info;
    }
    return error;
}

Error Format7::GetFormat7(Format7Settings* pSettings) {
    if (pSettings == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The settings of format 7 need a record to go to.");
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    RegisterSequence camera(*this);
    const unsigned int format = kVideoModeField.Get(camera.Read(Register::kCurrentFormat));
    if (!camera.HasFailed() && format != kScalableImageFormat) {
        return Failure(ERR_INVALID_MODE, "The camera is in format %u, not in format 7.", format);
    }
    Format7Settings settings;
    settings.mode = kVideoModeField.Get(camera.Read(Register::kCurrentMode));
    const unsigned int block = camera.FindBlock(Register::kFormat7CsrInquiry + kRegisterSize * settings.mode);
    if (!camera.HasFailed() && block == 0) {
        return Failure(ERR_FEATURE_ABSENT,
                       "The camera is in mode %u of format 7 and has no registers for it.", settings.mode);
    }
    const unsigned int position = camera.ReadBase(block + Format7Block::kImagePosition);
    const unsigned int size = camera.ReadBase(block + Format7Block::kImageSize);
    const unsigned int coding = camera.ReadBase(block + Format7Block::kColorCoding);
    const unsigned int packet = camera.ReadBase(block + Format7Block::kBytesPerPacket);
    settings.left = kHorizontalField.Get(position);
    settings.top = kVerticalField.Get(position);
    settings.width = kHorizontalField.Get(size);
    settings.height = kVerticalField.Get(size);
    settings.pixelFormat = ToPixelFormat(kColorCodingField.Get(coding));
    settings.packetSize = BytesPerPacket::kSize.Get(packet);
    if (!camera.HasFailed()) {
        *pSettings = settings;
    }
    return camera.GetError();
}

Error Format7::SetFormat7(const Format7Settings* pSettings) {
    if (pSettings == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The settings of format 7 need a record to come from.");
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    unsigned int block = 0;
    Error error = RequireMode(*pSettings, &block);
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this);
    Present present;
    present.format = camera.Read(Register::kCurrentFormat);
    present.mode = camera.Read(Register::kCurrentMode);
    present.region.position = camera.ReadBase(block + Format7Block::kImagePosition);
    present.region.size = camera.ReadBase(block + Format7Block::kImageSize);
    present.region.coding = camera.ReadBase(block + Format7Block::kColorCoding);
    present.bytesPerPacket = camera.ReadBase(block + Format7Block::kBytesPerPacket);
    if (camera.HasFailed()) {
        return camera.GetError();
    }
    // The mode becomes the current one last, when the camera has accepted its settings.
    error = SetRegion(
        block, {MakePair(pSettings->left, pSettings->top), MakePair(pSettings->width, pSettings->height),
                kColorCodingField.Make(ToColorCoding(pSettings->pixelFormat))});
    if (error == ERR_OK) {
        error = SetPacketSize(block, pSettings->packetSize);
    }
    if (error == ERR_OK) {
        error = SelectMode(pSettings->mode);
    }
    if (error != ERR_OK) {
        PutBack(block, present);
    }
    return error;
}

Error Format7::RequireMode(const Format7Settings& settings, unsigned int* pBlock) {
    Error error = CheckMode(settings.mode);
    Format7Info info;
    if (error == ERR_OK) {
        error = ReadInfo(*this, settings.mode, &info, pBlock);
    }
    if (error == ERR_OK && !info.present) {
        error = Failure(ERR_FEATURE_ABSENT, "This camera has no mode %u of format 7.", settings.mode);
    }
    if (error == ERR_OK) {
        error = CheckExtent("width", "left", settings.width, settings.left, info.unitWidth, info.unitLeft,
                            info.maxWidth);
    }
    if (error == ERR_OK) {
        error = CheckExtent("height", "top", settings.height, settings.top, info.unitHeight, info.unitTop,
                            info.maxHeight);
    }
    if (error == ERR_OK && !HasFormat(info.pixelFormatMask, settings.pixelFormat)) {
        error = Failure(ERR_NOT_SUPPORTED, "Mode %u of format 7 has no pixel format %s; it has %s.",
                        settings.mode, GetPixelFormatName(settings.pixelFormat),
                        ListFormats(info.pixelFormatMask).c_str());
    }
    return error;
}

/// At the sensor's corner first: neither the old region nor the new one may stick out meanwhile.
void Format7::WriteRegion(RegisterSequence& camera, unsigned int block, const Region& region) {
    camera.WriteBase(block + Format7Block::kImagePosition, 0);
    camera.WriteBase(block + Format7Block::kImageSize, region.size);
    camera.WriteBase(block + Format7Block::kColorCoding, region.coding);
    camera.WriteBase(block + Format7Block::kImagePosition, region.position);
    if (HasValueSetting(camera, block)) {
        camera.WriteBase(block + Format7Block::kValueSetting, ValueSetting::kSetting1);
        camera.WaitForClearBase(block + Format7Block::kValueSetting, ValueSetting::kSetting1,
                                m_settingTimeoutMs);
    }
}

Error Format7::SetRegion(unsigned int block, const Region& region) {
    RegisterSequence camera(*this);
    WriteRegion(camera, block, region);
    const unsigned int status = camera.ReadBase(block + Format7Block::kValueSetting);
    const unsigned int position = camera.ReadBase(block + Format7Block::kImagePosition);
    const unsigned int size = camera.ReadBase(block + Format7Block::kImageSize);
    const unsigned int coding = kColorCodingField.Get(camera.ReadBase(block + Format7Block::kColorCoding));
    if (camera.HasFailed()) {
        return camera.GetError();
    }
    const bool isRefused = (status & ValueSetting::kPresence) != 0 && (status & ValueSetting::kError1) != 0;
    if (isRefused || position != region.position || size != region.size ||
        coding != kColorCodingField.Get(region.coding)) {
        return Failure(ERR_INVALID_MODE,
                       "The camera refuses a region of %u x %u pixels at %u, %u with the pixel format %s.",
                       kHorizontalField.Get(region.size), kVerticalField.Get(region.size),
                       kHorizontalField.Get(region.position), kVerticalField.Get(region.position),
                       GetPixelFormatName(ToPixelFormat(kColorCodingField.Get(region.coding))));
    }
    return Error();
}

Error Format7::SetPacketSize(unsigned int block, unsigned int packetSize) {
    RegisterSequence camera(*this);
    // They follow from the region.
    const unsigned int parameters = camera.ReadBase(block + Format7Block::kPacketParameters);
    const unsigned int packets = camera.ReadBase(block + Format7Block::kBytesPerPacket);
    if (camera.HasFailed()) {
        return camera.GetError();
    }
    const unsigned int max = PacketParameters::kMaximum.Get(parameters);
    const unsigned int unit = std::max(PacketParameters::kUnit.Get(parameters), 1U);
    const auto isPossible = [&](unsigned int size) {
        return size >= unit && size <= max && size % unit == 0;
    };
    if (max == 0) {
        return packetSize == 0 ? Error()
                               : Failure(ERR_NOT_SUPPORTED, "This camera has no choice of packet size.");
    }
    if (packetSize != 0 && !isPossible(packetSize)) {
        return Failure(
            ERR_VALUE_OUT_OF_RANGE,
            "The packet size is to be %u bytes; with this region it must be %u to %u in steps of %u.",
            packetSize, unit, max, unit);
    }
    const unsigned int recommended = BytesPerPacket::kRecommended.Get(packets);
    if (packetSize == 0) {
        packetSize = isPossible(recommended) ? recommended : max;
    }
    camera.WriteBase(block + Format7Block::kBytesPerPacket, BytesPerPacket::kSize.Make(packetSize));
    const unsigned int status = camera.ReadBase(block + Format7Block::kValueSetting);
    const unsigned int taken =
        BytesPerPacket::kSize.Get(camera.ReadBase(block + Format7Block::kBytesPerPacket));
    const bool isRefused = (status & ValueSetting::kPresence) != 0 && (status & ValueSetting::kError2) != 0;
    if (!camera.HasFailed() && (isRefused || taken != packetSize)) {
        return Failure(ERR_INVALID_MODE, "The camera refuses packets of %u bytes.", packetSize);
    }
    return camera.GetError();
}

Error Format7::SelectMode(unsigned int mode) {
    RegisterSequence camera(*this);
    camera.Write(Register::kCurrentFormat, kVideoModeField.Make(kScalableImageFormat));
    camera.Write(Register::kCurrentMode, kVideoModeField.Make(mode));
    const unsigned int nowFormat = kVideoModeField.Get(camera.Read(Register::kCurrentFormat));
    const unsigned int nowMode = kVideoModeField.Get(camera.Read(Register::kCurrentMode));
    if (!camera.HasFailed() && (nowFormat != kScalableImageFormat || nowMode != mode)) {
        return Failure(
            ERR_INVALID_MODE,
            "The camera does not take mode %u of format 7; it stays in mode %u of format %u. It may "
            "be transmitting.",
            mode, nowMode, nowFormat);
    }
    return camera.GetError();
}

/// What can be done about a failure; another one of these accesses is not reported.
void Format7::PutBack(unsigned int block, const Present& present) {
    RegisterSequence mode(*this);
    mode.Write(Register::kCurrentFormat, present.format);
    mode.Write(Register::kCurrentMode, present.mode);
    RegisterSequence region(*this);
    WriteRegion(region, block, present.region);
    region.WriteBase(block + Format7Block::kBytesPerPacket, present.bytesPerPacket);
}

}  // namespace Zevrin
