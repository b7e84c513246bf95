#include "CameraSettings.h"
#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "Features.h"
#include "RegisterFields.h"
#include "SimulatedDevice.h"
#include "VideoFormats.h"

namespace Zevrin {

namespace {

// What the camera's users need not know; the rest stands in Registers.h.
namespace Offset {
constexpr unsigned int kPixelNumber = 0x034;
constexpr unsigned int kTotalBytesHigh = 0x038;
constexpr unsigned int kTotalBytesLow = 0x03C;
constexpr unsigned int kPacketsPerFrame = 0x048;
constexpr unsigned int kFrameInterval = 0x050;
constexpr unsigned int kDataDepth = 0x054;
constexpr unsigned int kColorFilter = 0x058;
}  // namespace Offset

constexpr RegisterField kFirstByte{0, 7};

unsigned int ReadPixelNumber(const SimulatedDevice& device, unsigned int, unsigned int) {
    const unsigned int size = device.GetRegisters().Get(Block::kFormat7 + Format7Block::kImageSize);
    return kHorizontalField.Get(size) * kVerticalField.Get(size);
}

unsigned int ReadTotalBytes(const SimulatedDevice& device, unsigned int, unsigned int) {
    return static_cast<unsigned int>(GetFormat7Size(device.GetRegisters()));
}

unsigned int ReadBytesPerPacket(const SimulatedDevice&, unsigned int, unsigned int stored) {
    return BytesPerPacket::kRecommended.Put(stored, kMaxBytesPerPacket);
}

unsigned int ReadPacketsPerFrame(const SimulatedDevice& device, unsigned int, unsigned int) {
    return GetFormat7PacketsPerFrame(device.GetRegisters());
}

unsigned int ReadFrameInterval(const SimulatedDevice& device, unsigned int, unsigned int) {
    return FloatToWord(GetFormat7PacketsPerFrame(device.GetRegisters()) / kPacketsPerSecond);
}

unsigned int ReadDataDepth(const SimulatedDevice& device, unsigned int, unsigned int) {
    const unsigned int coding = device.GetRegisters().Get(Block::kFormat7 + Format7Block::kColorCoding);
    return kFirstByte.Make(GetSampleDepth(ToPixelFormat(kColorCodingField.Get(coding))));
}

unsigned int ReadValueSetting(const SimulatedDevice& device, unsigned int, unsigned int) {
    const RegisterFile& registers = device.GetRegisters();
    return ValueSetting::kPresence |
           (IsFormat7RegionValid(registers, device.GetDescription()) ? 0 : ValueSetting::kError1) |
           (IsFormat7PacketValid(registers) ? 0 : ValueSetting::kError2);
}

/// The region may move while frames are sent, but only to where it can be: an odd row would turn the mosaic
/// round under a format that promises another one.
void ImagePositionWritten(SimulatedDevice& device, unsigned int offset, unsigned int, unsigned int before) {
    RegisterFile& registers = device.GetRegisters();
    if (device.GetSequencer().IsSending() && !IsFormat7RegionValid(registers, device.GetDescription())) {
        registers.Set(offset, before);
    }
}

/// COLOR_FILTER_ID: the standard's order differs from that of the enumeration.
unsigned int GetColorFilter(BayerTileFormat bayer) {
    switch (bayer) {
        case BAYER_GBRG:
            return 1;
        case BAYER_GRBG:
            return 2;
        case BAYER_BGGR:
            return 3;
        default:
            return 0;
    }
}

unsigned int GetCodings(bool isColor) {
    unsigned int codings = 0;
    for (unsigned int coding = 0; ToPixelFormat(coding) != PIXEL_FORMAT_UNKNOWN; ++coding) {
        codings |= IsCodingPresent(ToPixelFormat(coding), isColor) ? RegisterBit(coding) : 0;
    }
    return codings;
}

}  // namespace

std::vector<RegisterRow> MakeFormat7Registers(const CameraDescription& camera) {
    const bool isColor = camera.bayer != BAYER_NONE;
    const unsigned int whole = kHorizontalField.Make(camera.width) | kVerticalField.Make(camera.height);
    const unsigned int units = kHorizontalField.Make(kPixelUnitX) | kVerticalField.Make(kPixelUnitY);
    const unsigned int packets =
        PacketParameters::kUnit.Make(kPacketUnit) | PacketParameters::kMaximum.Make(kMaxBytesPerPacket);
    const unsigned int coding =
        kColorCodingField.Make(ToColorCoding(isColor ? PIXEL_FORMAT_RAW8 : PIXEL_FORMAT_MONO8));
    constexpr unsigned int kAll = 0xFFFFFFFFU;
    std::vector<RegisterRow> rows = {
        {Format7Block::kMaxImageSize, 1, 0, whole, "MAX_IMAGE_SIZE_INQ"},
        {Format7Block::kUnitSize, 1, 0, units, "UNIT_SIZE_INQ"},
        {Format7Block::kImagePosition, 1, kAll, 0, "IMAGE_POSITION", nullptr, ImagePositionWritten},
        {Format7Block::kImageSize, 1, kAll, whole, "IMAGE_SIZE", nullptr, nullptr, true},
        {Format7Block::kColorCoding, 1, kColorCodingField.GetMask(), coding, "COLOR_CODING_ID", nullptr,
         nullptr, true},
        {Format7Block::kColorCodingInquiry, 1, 0, GetCodings(isColor), "COLOR_CODING_INQ"},
        {Format7Block::kColorCodingInquiry + kRegisterSize, 7, 0, 0, "COLOR_CODING_INQ"},
        {Offset::kPixelNumber, 1, 0, 0, "PIXEL_NUMBER_INQ", ReadPixelNumber},
        {Offset::kTotalBytesHigh, 1, 0, 0, "TOTAL_BYTES_HI_INQ"},
        {Offset::kTotalBytesLow, 1, 0, 0, "TOTAL_BYTES_LO_INQ", ReadTotalBytes},
        {Format7Block::kPacketParameters, 1, 0, packets, "PACKET_PARA_INQ"},
        {Format7Block::kBytesPerPacket, 1, BytesPerPacket::kSize.GetMask(),
         BytesPerPacket::kSize.Make(kMaxBytesPerPacket), "BYTE_PER_PACKET", ReadBytesPerPacket, nullptr,
         true},
        {Offset::kPacketsPerFrame, 1, 0, 0, "PACKET_PER_FRAME_INQ", ReadPacketsPerFrame},
        {Format7Block::kUnitPosition, 1, 0, units, "UNIT_POSITION_INQ"},
        {Offset::kFrameInterval, 1, 0, 0, "FRAME_INTERVAL_INQ", ReadFrameInterval},
        {Offset::kDataDepth, 1, 0, 0, "DATA_DEPTH_INQ", ReadDataDepth},
        {Offset::kColorFilter, 1, 0, kFirstByte.Make(GetColorFilter(camera.bayer)), "COLOR_FILTER_ID"},
        {Offset::kColorFilter + kRegisterSize, 8, 0, 0, "reserved"},
        {Format7Block::kValueSetting, 1, 0, 0, "VALUE_SETTING", ReadValueSetting},
    };
    for (RegisterRow& row : rows) {
        row.offset += Block::kFormat7;
    }
    return rows;
}

}  // namespace Zevrin
