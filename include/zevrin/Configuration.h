#pragma once

namespace Zevrin {

/// What becomes of a new image that finds no free buffer. Retrievals give the oldest image that waits.
enum GrabMode : unsigned int {
    GRAB_NEWEST = 0,   ///< the oldest waiting image makes room for it
    GRAB_IN_ORDER = 1  ///< it is dropped
};

/// `ZevrinConfig::asyncSpeed` and `isochSpeed`: the fastest that both ends can.
constexpr unsigned int kBusSpeedFastest = 13;

/// `ZevrinConfig::bandwidthAllocation`: left to the transport.
constexpr unsigned int kBandwidthAutomatic = 3;

/// `ZevrinConfig::grabTimeout`: no limit, and the library's own limit of two seconds.
constexpr int kTimeoutInfinite = -1;
constexpr int kTimeoutDefault = -2;

/// How a camera streams. Read when the stream starts.
struct ZevrinConfig {
    unsigned int numBuffers = 10;                ///< images held by the stream, 1 to 4096
    unsigned int packetSize = 0;                 ///< bytes of a stream packet; 0: negotiated by the transport
    unsigned int packetDelay = 0;                ///< nanoseconds between packets; 0: the camera's own
    int grabTimeout = kTimeoutDefault;           ///< milliseconds, or one of the two constants above
    GrabMode grabMode = GRAB_IN_ORDER;           ///< which image is lost when no buffer is free
    bool deliverIncomplete = false;              ///< hand over incomplete images too, marked as such
    unsigned int asyncSpeed = kBusSpeedFastest;  ///< 1394: code of register accesses
    unsigned int isochSpeed = kBusSpeedFastest;  ///< 1394: code of the stream
    unsigned int bandwidthAllocation = kBandwidthAutomatic;  ///< 1394: how bandwidth is reserved
    unsigned int socketBufferSize = 0;  ///< bytes; 0: room for two images, as far as the system allows
    unsigned int packetResend = 0;      ///< 0: lost packets are asked for again, 1: never
    unsigned int reserved[16] = {};     ///< zero; for later versions
};

}  // namespace Zevrin
