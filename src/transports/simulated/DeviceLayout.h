#pragma once

#include "Registers.h"

namespace Zevrin {

/// Registers of the standard that only the camera's side needs.
namespace Register {
constexpr unsigned int kAdvancedFeatureInquiry = 0x480;
constexpr unsigned int kPioCsrInquiry = 0x484;
constexpr unsigned int kShots = 0x61C;
constexpr unsigned int kVideoModeErrorStatus = 0x628;
}  // namespace Register

/// Registers that the standard leaves to the camera, as offsets from the command registers.
namespace Advanced {
constexpr unsigned int kTestPattern = 0x1040;
constexpr unsigned int kPinDirection = 0x11F8;
constexpr unsigned int kUptime = 0x12E0;
constexpr unsigned int kExposureCount = 0x12E4;
constexpr unsigned int kEmbeddedInfo = 0x12F8;
constexpr unsigned int kTransmitFailures = 0x12FC;
constexpr unsigned int kMeasurementsAInfo = 0x1A50;
constexpr unsigned int kMeasurementsAOffset = 0x1A54;
constexpr unsigned int kMeasurementsBInfo = 0x1A58;
constexpr unsigned int kMeasurementsBOffset = 0x1A5C;
constexpr unsigned int kUserData = 0x1F00;
}  // namespace Advanced

/// Where a simulated camera keeps the blocks whose place the standard leaves to the camera, as offsets from
/// the command registers.
namespace Block {
constexpr unsigned int kAdvanced = 0x1000;
constexpr unsigned int kMeasurementsA = 0x2100;
constexpr unsigned int kMeasurementsB = 0x2200;
constexpr unsigned int kAbsolute = 0x3000;  ///< + kAbsoluteSize * bit of the feature
constexpr unsigned int kAbsoluteSize = 0x10;
constexpr unsigned int kStrobe = 0x5000;
constexpr unsigned int kPio = 0x6000;
constexpr unsigned int kFormat7 = 0x8000;
constexpr unsigned int kLut = 0x10000;
}  // namespace Block

namespace PioBlock {
constexpr unsigned int kOut = 0x0;  ///< bit of the standard n: level of pin n as an output
constexpr unsigned int kIn = 0x4;   ///< the same: its present level
}  // namespace PioBlock

constexpr unsigned int kInitialRegisterSpace = kUsualInitialRegisterSpace;
constexpr unsigned int kCommandRegisters = kUsualCommandRegisters;

/// A block's place as inquiry registers tell it: in quadlets from the initial register space.
constexpr unsigned int QuadletOffset(unsigned int commandOffset) {
    return (kCommandRegisters - kInitialRegisterSpace + commandOffset) / kRegisterSize;
}

constexpr unsigned int kPinCount = 4;
constexpr unsigned int kAllPins = 0xF0000000U;  ///< bits 0 to 3 of the standard
constexpr unsigned int kHighestMemoryChannel = 3;

}  // namespace Zevrin
