#include "Format7Registers.h"
#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "RegisterBits.h"
#include "SimulatedDevice.h"
#include "VideoFormats.h"

#include <algorithm>
#include <cstring>

namespace Zevrin {

namespace {

namespace Offset {
constexpr unsigned int kMaxImageSize = 0x000;
constexpr unsigned int kUnitSize = 0x004;
constexpr unsigned int kImagePosition = 0x008;
constexpr unsigned int kImageSize = 0x00C;
constexpr unsigned int kColorCoding = 0x010;
constexpr unsigned int kColorCodingInquiry = 0x014;
constexpr unsigned int kPixelNumber = 0x034;
constexpr unsigned int kTotalBytesHigh = 0x038;
constexpr unsigned int kTotalBytesLow = 0x03C;
constexpr unsigned int kPacketParameter = 0x040;
constexpr unsigned int kBytePerPacket = 0x044;
constexpr unsigned int kPacketsPerFrame = 0x048;
constexpr unsigned int kUnitPosition = 0x04C;
constexpr unsigned int kFrameInterval = 0x050;
constexpr unsigned int kDataDepth = 0x054;
constexpr unsigned int kColorFilter = 0x058;
constexpr unsigned int kValueSetting = 0x07C;
}  // namespace Offset

constexpr RegisterField kHigh{0, 15};  // width, left, unit of packets, chosen packet size
constexpr RegisterField kLow{16, 31};  // height, top, most bytes of a packet, recommended packet size
constexpr RegisterField kFirstByte{0, 7};
constexpr unsigned int kPresence = RegisterBit(0);
constexpr unsigned int kError1 = RegisterBit(8);  // size, position or colour coding
constexpr unsigned int kError2 = RegisterBit(9);  // packet size
constexpr unsigned int kPacketUnit = 4;
constexpr double kPacketsPerSecond = 8000;

unsigned int Get(const SimulatedDevice& device, unsigned int offset) {
    return device.GetRegisters().Get(Block::kFormat7 + offset);
}

unsigned int ReadPixelNumber(const SimulatedDevice& device, unsigned int, unsigned int) {
    const unsigned int size = Get(device, Offset::kImageSize);
    return kHigh.Get(size) * kLow.Get(size);
}

unsigned int ReadTotalBytes(const SimulatedDevice& device, unsigned int, unsigned int) {
    const ImageSetup setup = GetFormat7Setup(device);
    return static_cast<unsigned int>(GetImageSize(setup.width, setup.height, setup.format));
}

unsigned int GetPacketSize(const SimulatedDevice& device) {
    const unsigned int chosen = kHigh.Get(Get(device, Offset::kBytePerPacket));
    return chosen != 0 ? chosen : kMaxBytesPerPacket;
}

bool IsPacketSizeValid(const SimulatedDevice& device) {
    const unsigned int size = GetPacketSize(device);
    return size % kPacketUnit == 0 && size <= kMaxBytesPerPacket;
}

unsigned int ReadBytePerPacket(const SimulatedDevice&, unsigned int, unsigned int stored) {
    return kHigh.Put(kLow.Make(kMaxBytesPerPacket), kHigh.Get(stored));
}

unsigned int ReadPacketsPerFrame(const SimulatedDevice& device, unsigned int, unsigned int) {
    const unsigned int packet = GetPacketSize(device);
    return std::max(1U, (ReadTotalBytes(device, 0, 0) + packet - 1) / packet);
}

unsigned int ReadFrameInterval(const SimulatedDevice& device, unsigned int, unsigned int) {
    const auto seconds = static_cast<float>(ReadPacketsPerFrame(device, 0, 0) / kPacketsPerSecond);
    unsigned int word = 0;
    static_assert(sizeof(word) == sizeof(seconds), "IEEE-754 single precision");
    std::memcpy(&word, &seconds, sizeof(word));
    return word;
}

unsigned int ReadDataDepth(const SimulatedDevice& device, unsigned int, unsigned int) {
    return kFirstByte.Make(GetSampleDepth(GetFormat7Setup(device).format));
}

unsigned int ReadValueSetting(const SimulatedDevice& device, unsigned int, unsigned int) {
    return kPresence | (GetFormat7Setup(device).isValid ? 0 : kError1) |
           (IsPacketSizeValid(device) ? 0 : kError2);
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
    for (unsigned int coding = 0; GetPixelFormatOfCoding(coding) != PIXEL_FORMAT_UNKNOWN; ++coding) {
        codings |= IsCodingPresent(GetPixelFormatOfCoding(coding), isColor) ? RegisterBit(coding) : 0;
    }
    return codings;
}

}  // namespace

ImageSetup GetFormat7Setup(const SimulatedDevice& device) {
    const CameraDescription& camera = device.GetDescription();
    const unsigned int position = Get(device, Offset::kImagePosition);
    const unsigned int size = Get(device, Offset::kImageSize);
    ImageSetup setup;
    setup.left = kHigh.Get(position);
    setup.top = kLow.Get(position);
    setup.width = kHigh.Get(size);
    setup.height = kLow.Get(size);
    setup.format = GetPixelFormatOfCoding(kFirstByte.Get(Get(device, Offset::kColorCoding)));
    setup.isValid = setup.width != 0 && setup.height != 0 && setup.width % kPixelUnitX == 0 &&
                    setup.left % kPixelUnitX == 0 && setup.height % kPixelUnitY == 0 &&
                    setup.top % kPixelUnitY == 0 && setup.left + setup.width <= camera.width &&
                    setup.top + setup.height <= camera.height &&
                    IsCodingPresent(setup.format, camera.bayer != BAYER_NONE);
    return setup;
}

bool IsFormat7Ready(const SimulatedDevice& device) {
    return GetFormat7Setup(device).isValid && IsPacketSizeValid(device);
}

double GetFormat7MaxRate(const SimulatedDevice& device) {
    return kPacketsPerSecond / ReadPacketsPerFrame(device, 0, 0);
}

std::vector<RegisterRow> MakeFormat7Registers(const CameraDescription& camera) {
    const bool isColor = camera.bayer != BAYER_NONE;
    const unsigned int whole = kHigh.Make(camera.width) | kLow.Make(camera.height);
    const unsigned int coding = GetColorCoding(isColor ? PIXEL_FORMAT_RAW8 : PIXEL_FORMAT_MONO8);
    const unsigned int units = kHigh.Make(kPixelUnitX) | kLow.Make(kPixelUnitY);
    constexpr unsigned int kAll = 0xFFFFFFFFU;
    std::vector<RegisterRow> rows = {
        {Offset::kMaxImageSize, 1, 0, whole, "MAX_IMAGE_SIZE_INQ"},
        {Offset::kUnitSize, 1, 0, units, "UNIT_SIZE_INQ"},
        {Offset::kImagePosition, 1, kAll, 0, "IMAGE_POSITION"},
        {Offset::kImageSize, 1, kAll, whole, "IMAGE_SIZE", nullptr, nullptr, true},
        {Offset::kColorCoding, 1, kFirstByte.GetMask(), kFirstByte.Make(coding), "COLOR_CODING_ID", nullptr,
         nullptr, true},
        {Offset::kColorCodingInquiry, 1, 0, GetCodings(isColor), "COLOR_CODING_INQ"},
        {Offset::kColorCodingInquiry + 4, 7, 0, 0, "COLOR_CODING_INQ"},
        {Offset::kPixelNumber, 1, 0, 0, "PIXEL_NUMBER_INQ", ReadPixelNumber},
        {Offset::kTotalBytesHigh, 1, 0, 0, "TOTAL_BYTES_HI_INQ"},
        {Offset::kTotalBytesLow, 1, 0, 0, "TOTAL_BYTES_LO_INQ", ReadTotalBytes},
        {Offset::kPacketParameter, 1, 0, kHigh.Make(kPacketUnit) | kLow.Make(kMaxBytesPerPacket),
         "PACKET_PARA_INQ"},
        {Offset::kBytePerPacket, 1, kHigh.GetMask(), 0, "BYTE_PER_PACKET", ReadBytePerPacket, nullptr, true},
        {Offset::kPacketsPerFrame, 1, 0, 0, "PACKET_PER_FRAME_INQ", ReadPacketsPerFrame},
        {Offset::kUnitPosition, 1, 0, units, "UNIT_POSITION_INQ"},
        {Offset::kFrameInterval, 1, 0, 0, "FRAME_INTERVAL_INQ", ReadFrameInterval},
        {Offset::kDataDepth, 1, 0, 0, "DATA_DEPTH_INQ", ReadDataDepth},
        {Offset::kColorFilter, 1, 0, kFirstByte.Make(GetColorFilter(camera.bayer)), "COLOR_FILTER_ID"},
        {Offset::kColorFilter + 4, 8, 0, 0, "reserved"},
        {Offset::kValueSetting, 1, 0, 0, "VALUE_SETTING", ReadValueSetting},
    };
    for (RegisterRow& row : rows) {
        row.offset += Block::kFormat7;
    }
    return rows;
}

}  // namespace Zevrin
