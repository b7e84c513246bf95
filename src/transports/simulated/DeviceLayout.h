#pragma once

#include "Registers.h"

namespace Zevrin {

/// Where a simulated camera keeps the blocks whose place the standard leaves to the camera, as offsets from
/// the command registers.
namespace Block {
constexpr unsigned int kAdvanced = 0x1000;
constexpr unsigned int kFormat7 = 0x8000;
}  // namespace Block

constexpr unsigned int kInitialRegisterSpace = kUsualInitialRegisterSpace;
constexpr unsigned int kCommandRegisters = kUsualCommandRegisters;

/// A block's place as inquiry registers tell it: in quadlets from the initial register space.
constexpr unsigned int QuadletOffset(unsigned int commandOffset) {
    return (kCommandRegisters - kInitialRegisterSpace + commandOffset) / 4;
}

}  // namespace Zevrin
