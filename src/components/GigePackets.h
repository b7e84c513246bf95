#pragma once

namespace Zevrin {

/// Sizes of GigE Vision stream packets, in bytes. A packet size counts the IP, UDP and GVSP headers with the
/// data, as the camera's packet size register does, in 16 bits.
namespace GigePacket {

constexpr unsigned int kMinSize = 220;
constexpr unsigned int kMaxSize = 65532;
constexpr unsigned int kSizeStep = 4;

constexpr unsigned int kIpHeader = 20;
constexpr unsigned int kUdpHeader = 8;
constexpr unsigned int kGvspHeader = 8;  // of ids with 16 bits; the extended ones take 20 bytes
constexpr unsigned int kHeaders = kIpHeader + kUdpHeader + kGvspHeader;

constexpr unsigned int kImageLeader = 36;  // behind the GVSP header
constexpr unsigned int kImageTrailer = 8;

}  // namespace GigePacket

/// What Ethernet (IEEE 802.3) adds to each IP packet on the wire, in bytes.
namespace EthernetFrame {

constexpr unsigned int kPreamble = 8;  // with the start of frame delimiter
constexpr unsigned int kHeader = 14;
constexpr unsigned int kMinPayload = 46;  // shorter ones are padded
constexpr unsigned int kChecksum = 4;
constexpr unsigned int kGap = 12;  // before the next frame
constexpr unsigned int kOverhead = kPreamble + kHeader + kChecksum + kGap;

}  // namespace EthernetFrame

}  // namespace Zevrin
