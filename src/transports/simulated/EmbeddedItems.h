#pragma once

namespace Zevrin {

namespace Advanced {
constexpr unsigned int kEmbeddedInfo = 0x12F8;
constexpr unsigned int kEmbeddedInfoPresent = 0x80000000U;
constexpr unsigned int kTransmitFailures = 0x12FC;
}  // namespace Advanced

/// The switches of the embedded image information register, counted from the least significant bit as that
/// register does.
constexpr unsigned int kEmbeddedTimeStamp = 1U << 0;

}  // namespace Zevrin
