#pragma once

#include "RegisterBits.h"

namespace Zevrin {

/// IIDC registers, as byte offsets from the command registers. What is in them: RegisterFields.h.
namespace Register {
constexpr unsigned int kInitialize = 0x000;
constexpr unsigned int kFormatInquiry = 0x100;
constexpr unsigned int kModeInquiry = 0x180;        ///< + 4 * format
constexpr unsigned int kFrameRateInquiry = 0x200;   ///< + 32 * format + 4 * mode
constexpr unsigned int kFormat7CsrInquiry = 0x2E0;  ///< + 4 * mode
constexpr unsigned int kBasicFunctionInquiry = 0x400;
constexpr unsigned int kFeatureHighInquiry = 0x404;
constexpr unsigned int kFeatureLowInquiry = 0x408;
constexpr unsigned int kOptionalFunctionInquiry = 0x40C;
constexpr unsigned int kStrobeCsrInquiry = 0x48C;
constexpr unsigned int kLutCsrInquiry = 0x490;  ///< ours
constexpr unsigned int kHighInquiry = 0x500;    ///< + 4 * bit of the feature in kFeatureHighInquiry
constexpr unsigned int kTriggerInquiry = 0x530;
constexpr unsigned int kLowInquiry = 0x580;  ///< + 4 * bit of the feature in kFeatureLowInquiry
constexpr unsigned int kCurrentFrameRate = 0x600;
constexpr unsigned int kCurrentMode = 0x604;
constexpr unsigned int kCurrentFormat = 0x608;
constexpr unsigned int kIsoChannel = 0x60C;
constexpr unsigned int kCameraPower = 0x610;
constexpr unsigned int kTransmission = 0x614;
constexpr unsigned int kMemorySave = 0x618;
constexpr unsigned int kMemorySaveChannel = 0x620;
constexpr unsigned int kCurrentMemoryChannel = 0x624;
constexpr unsigned int kSoftwareTrigger = 0x62C;
constexpr unsigned int kDataDepth = 0x630;
constexpr unsigned int kHighAbsoluteCsrInquiry = 0x700;  ///< + 4 * bit, as above
constexpr unsigned int kLowAbsoluteCsrInquiry = 0x780;   ///< + 4 * bit, as above
constexpr unsigned int kHighControl = 0x800;             ///< + 4 * bit, as above
constexpr unsigned int kTriggerMode = 0x830;
constexpr unsigned int kLowControl = 0x880;     ///< + 4 * bit, as above
constexpr unsigned int kEmbeddedInfo = 0x12F8;  ///< ours: bit i, from the least significant end, for item i
}  // namespace Register

/// From one register of an array of registers to the next.
constexpr unsigned int kRegisterSize = 4;
constexpr unsigned int kFrameRateFormatSize = 32;  ///< from one format to the next at kFrameRateInquiry

// Blocks of registers, as byte offsets from where an inquiry register says that the block begins.

namespace AbsoluteBlock {
constexpr unsigned int kMinimum = 0x0;  ///< IEEE-754 single precision, as the two that follow
constexpr unsigned int kMaximum = 0x4;
constexpr unsigned int kValue = 0x8;
}  // namespace AbsoluteBlock

namespace StrobeBlock {
constexpr unsigned int kControlInquiry = 0x000;
constexpr unsigned int kInquiry = 0x100;  ///< + 4 * output
constexpr unsigned int kControl = 0x200;  ///< + 4 * output
}  // namespace StrobeBlock

namespace LutBlock {
constexpr unsigned int kInquiry = 0x0;
constexpr unsigned int kControl = 0x4;
constexpr unsigned int kBankStatus = 0x8;
constexpr unsigned int kEntries = 0x1000;  ///< all channels of bank 0, then of bank 1, and so on
}  // namespace LutBlock

namespace Format7Block {
constexpr unsigned int kMaxImageSize = 0x000;
constexpr unsigned int kUnitSize = 0x004;
constexpr unsigned int kImagePosition = 0x008;
constexpr unsigned int kImageSize = 0x00C;
constexpr unsigned int kColorCoding = 0x010;
constexpr unsigned int kColorCodingInquiry = 0x014;
constexpr unsigned int kPacketParameters = 0x040;
constexpr unsigned int kBytesPerPacket = 0x044;
constexpr unsigned int kUnitPosition = 0x04C;
constexpr unsigned int kValueSetting = 0x07C;
}  // namespace Format7Block

/// Bit 0 of the standard: the switch of every register that is one.
constexpr unsigned int kSwitchBit = RegisterBit(0);

constexpr unsigned int kTransmissionOn = kSwitchBit;
constexpr unsigned int kTransmissionOff = 0;

/// Where the two register spaces of nearly every camera begin.
constexpr unsigned int kUsualInitialRegisterSpace = 0xF0000000U;
constexpr unsigned int kUsualCommandRegisters = 0xF0F00000U;

/// IEEE 1394: what an address in the initial register space can reach, in bytes.
constexpr unsigned int kInitialRegisterSpaceSize = 0x10000000U;

}  // namespace Zevrin
