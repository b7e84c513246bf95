#pragma once

#include <string>
#include <vector>

#include "zevrin/Error.h"
#include "zevrin/Export.h"

namespace Zevrin {

/// A GigE Vision camera that is to send over a link: how large its images are and how often they come.
struct LinkCamera {
    std::string name;               ///< for messages; empty: its position, from 1
    unsigned int width = 0;         ///< pixels, 1 to 1048576
    unsigned int height = 0;        ///< pixels, 1 to 1048576
    unsigned int bitsPerPixel = 8;  ///< 1 to 64; see `GetBitsPerPixel`
    unsigned int extraBytes = 0;    ///< of an image beside its pixels: chunk data, padding
    double framesPerSecond = 0;     ///< 0.001 to 1000000
    unsigned int reserved[8] = {};  ///< zero; for later versions
};

/// The link that all cameras share: as a rule the host's network interface.
struct LinkFacts {
    double megabitsPerSecond = 1000;  ///< 1 to 1000000
    unsigned int mtu = 1500;    ///< bytes of the largest IP packet that every part carries, 576 to 65535
    double usableShare = 0.95;  ///< what images may take; the rest is for control and resending; 0.01 to 1
    unsigned int reserved[8] = {};  ///< zero; for later versions
};

/// What one camera is set to, and what it takes of the link then.
struct LinkShare {
    unsigned int packetSize = 0;          ///< for `ZevrinConfig::packetSize`
    unsigned int packetDelay = 0;         ///< nanoseconds, for `ZevrinConfig::packetDelay`
    unsigned long long imageBytes = 0;    ///< of one image
    unsigned long long imagePackets = 0;  ///< that carry it; a leader and a trailer come on top
    unsigned long long wireBytes = 0;  ///< that one image takes on an Ethernet, all packets and gaps included
    double megabitsPerSecond = 0;      ///< on the wire, averaged
    double share = 0;                  ///< of the link, 0 to 1
    double sendingMs = 0;              ///< from the first packet of an image to the end of its last
    unsigned int reserved[8] = {};     ///< zero; for later versions
};

/// A plan for all cameras of a link, in the order in which they were given.
struct LinkPlan {
    std::vector<LinkShare> cameras;  ///< in the order that they were given
    double megabitsPerSecond = 0;    ///< of all together
    double share = 0;                ///< of the link, 0 to `LinkFacts::usableShare`
};

/// Computes packet sizes and delays with which the cameras can send all at the same time. Packets are as
/// large as the link allows; delays slow each camera down to its part of the usable share, so that together
/// they never send faster than that, and each has sent an image before the next one is due. Asks no camera.
/// @param pPlan  changed on success only
/// Errors: ERR_INVALID_PARAMETER (no camera, null), ERR_VALUE_OUT_OF_RANGE (names camera, value and range),
/// ERR_NOT_SUPPORTED (they do not fit: the message has the sums and the rates that would).
/// Threads: any.
ZEVRIN_API Error PlanLink(const LinkFacts& link, const std::vector<LinkCamera>& cameras, LinkPlan* pPlan);

}  // namespace Zevrin
