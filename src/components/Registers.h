#pragma once

namespace Zevrin {

/// IIDC registers, as byte offsets from the command registers. Bits are numbered here from the least
/// significant end; the standard counts from the other one.
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
constexpr unsigned int kCurrentFrameRate = 0x600;
constexpr unsigned int kCurrentMode = 0x604;
constexpr unsigned int kCurrentFormat = 0x608;
constexpr unsigned int kIsoChannel = 0x60C;
constexpr unsigned int kCameraPower = 0x610;
constexpr unsigned int kTransmission = 0x614;
constexpr unsigned int kDataDepth = 0x630;
constexpr unsigned int kEmbeddedInfo = 0x12F8;  ///< ours: bit i, from the least significant end, for item i
}  // namespace Register

/// Bit 0 of the standard: the switch of every register that is one.
constexpr unsigned int kSwitchBit = 0x80000000U;

constexpr unsigned int kTransmissionOn = kSwitchBit;
constexpr unsigned int kTransmissionOff = 0;

/// Where the two register spaces of nearly every camera begin.
constexpr unsigned int kUsualInitialRegisterSpace = 0xF0000000U;
constexpr unsigned int kUsualCommandRegisters = 0xF0F00000U;

}  // namespace Zevrin
