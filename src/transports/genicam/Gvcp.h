#pragma once

#include <cstddef>

namespace Zevrin {

// The control protocol of GigE Vision, as far as it is spoken here and not by Aravis. All numbers of more
// than a byte are big-endian.

/// Where devices and their masters are asked.
constexpr unsigned short kGvcpPort = 3956;

namespace GvcpCommand {
constexpr unsigned int kReadRegister = 0x0080;
constexpr unsigned int kReadMemory = 0x0084;
constexpr unsigned int kEvent = 0x00C0;
constexpr unsigned int kEventData = 0x00C2;
}  // namespace GvcpCommand

/// The number of a command's acknowledge follows its own.
constexpr unsigned int kGvcpAcknowledgeStep = 1;

constexpr unsigned char kGvcpKey = 0x42;           ///< first byte of a command
constexpr unsigned char kGvcpAskForAnswer = 0x01;  ///< flag of a command
constexpr unsigned char kGvcpExtendedIds = 0x10;   ///< flag of an event, whose records are longer then
constexpr std::size_t kGvcpHeaderSize = 8;         ///< of a command and of an acknowledge
constexpr std::size_t kGvcpMaxPacketSize = 576;    ///< with IP and UDP headers

/// Bootstrap registers.
namespace GvcpRegister {
constexpr unsigned int kVersion = 0x0000;
constexpr unsigned int kFirstUrl = 0x0200;   ///< of the description; 512 bytes each
constexpr unsigned int kSecondUrl = 0x0400;  ///< for when the first does not work
constexpr unsigned int kMessageChannels = 0x0900;
constexpr unsigned int kMessagePort = 0x0B00;         ///< the host's, in the low half; 0 closes the channel
constexpr unsigned int kMessageDestination = 0x0B10;  ///< the host's IPv4 address
constexpr unsigned int kMessageTimeout = 0x0B14;      ///< milliseconds for an acknowledge
constexpr unsigned int kMessageRetries = 0x0B18;
}  // namespace GvcpRegister

inline unsigned int ReadBig16(const unsigned char* bytes) {
    return static_cast<unsigned int>(bytes[0]) << 8 | bytes[1];
}

inline unsigned int ReadBig32(const unsigned char* bytes) {
    return ReadBig16(bytes) << 16 | ReadBig16(bytes + 2);
}

inline void WriteBig16(unsigned int value, unsigned char* bytes) {
    bytes[0] = static_cast<unsigned char>(value >> 8);
    bytes[1] = static_cast<unsigned char>(value);
}

}  // namespace Zevrin
