#include "zevrin/LinkPlan.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "Failure.h"
#include "FormatText.h"
#include "GigePackets.h"

namespace Zevrin {

namespace {

constexpr double kBitsPerByte = 8;
constexpr double kBitsPerMegabit = 1e6;
constexpr double kNanosecondsPerSecond = 1e9;
constexpr double kMillisecondsPerSecond = 1e3;
constexpr double kPerCent = 100;
constexpr std::size_t kMaxSums = 16;  // in a message

struct Fact {
    const char* what;
    double value;
    double min;
    double max;
};

/// What is not a number is in no range. The ranges keep an image below 2^44 bytes on the wire, so that no
/// product of 64 bits overflows.
Error Require(const Fact& fact, const std::string& owner) {
    if (fact.value >= fact.min && fact.value <= fact.max) {
        return Error();
    }
    return Failure(ERR_VALUE_OUT_OF_RANGE, "The %s of %s is %.10g; it must be %.10g to %.10g.", fact.what,
                   owner.c_str(), fact.value, fact.min, fact.max);
}

Error CheckLink(const LinkFacts& link) {
    const Fact facts[] = {{"speed in megabits per second", link.megabitsPerSecond, 1, 1e6},
                          {"largest packet in bytes", static_cast<double>(link.mtu), 576, 65535},
                          {"usable share", link.usableShare, 0.01, 1}};
    Error error;
    for (const Fact& fact : facts) {
        error = error == ERR_OK ? Require(fact, "the link") : error;
    }
    return error;
}

Error CheckCamera(const LinkCamera& camera, const std::string& name) {
    constexpr double kMaxPixels = 1 << 20;
    const Fact facts[] = {{"width in pixels", static_cast<double>(camera.width), 1, kMaxPixels},
                          {"height in pixels", static_cast<double>(camera.height), 1, kMaxPixels},
                          {"number of bits per pixel", static_cast<double>(camera.bitsPerPixel), 1, 64},
                          {"number of frames per second", camera.framesPerSecond, 0.001, 1e6}};
    Error error;
    for (const Fact& fact : facts) {
        error = error == ERR_OK ? Require(fact, name) : error;
    }
    return error;
}

std::string NameOf(const std::vector<LinkCamera>& cameras, std::size_t index) {
    const std::string& name = cameras[index].name;
    return "camera " + (name.empty() ? std::to_string(index + 1) : Printable(name));
}

/// What an IP packet of this size takes on an Ethernet.
constexpr unsigned long long ToWire(unsigned long long ipBytes) {
    return std::max<unsigned long long>(ipBytes, EthernetFrame::kMinPayload) + EthernetFrame::kOverhead;
}

/// All but delays, which depend on the other cameras.
LinkShare MakeShare(const LinkFacts& link, const LinkCamera& camera) {
    LinkShare share;
    share.packetSize =
        std::min(link.mtu, GigePacket::kMaxSize) / GigePacket::kSizeStep * GigePacket::kSizeStep;
    const unsigned long long pixels = 1ULL * camera.width * camera.height;
    share.imageBytes = (pixels * camera.bitsPerPixel + 7) / 8 + camera.extraBytes;

    const unsigned long long dataSize = share.packetSize - GigePacket::kHeaders;
    const unsigned long long fullPackets = share.imageBytes / dataSize;
    const unsigned long long rest = share.imageBytes % dataSize;
    share.imagePackets = fullPackets + (rest != 0 ? 1 : 0);
    share.wireBytes = ToWire(GigePacket::kHeaders + GigePacket::kImageLeader) +
                      fullPackets * ToWire(share.packetSize) +
                      (rest != 0 ? ToWire(GigePacket::kHeaders + rest) : 0) +
                      ToWire(GigePacket::kHeaders + GigePacket::kImageTrailer);
    share.megabitsPerSecond =
        static_cast<double>(share.wireBytes) * kBitsPerByte * camera.framesPerSecond / kBitsPerMegabit;
    share.share = share.megabitsPerSecond / link.megabitsPerSecond;
    return share;
}

/// Slows a camera down to its part of the usable share. Rounded down, for a delay that is too long makes an
/// image late.
void SetDelay(const LinkFacts& link, double totalShare, LinkShare* pShare) {
    const double packets = static_cast<double>(pShare->imagePackets) + 2;  // with leader and trailer
    const double undelayed =
        static_cast<double>(pShare->wireBytes) * kBitsPerByte / (link.megabitsPerSecond * kBitsPerMegabit);
    const double speed = pShare->share / totalShare * link.usableShare;  // of the link's
    const double delay = std::min((undelayed / speed - undelayed) / packets * kNanosecondsPerSecond,
                                  static_cast<double>(std::numeric_limits<unsigned int>::max()));
    pShare->packetDelay = static_cast<unsigned int>(std::max(delay, 0.0));
    pShare->sendingMs =
        (undelayed + (packets - 1) * pShare->packetDelay / kNanosecondsPerSecond) * kMillisecondsPerSecond;
}

Error Refuse(const LinkFacts& link, const std::vector<LinkCamera>& cameras, const LinkPlan& plan) {
    std::string sums;
    for (std::size_t index = 0; index < std::min(cameras.size(), kMaxSums); ++index) {
        const LinkShare& share = plan.cameras[index];
        sums += FormatText("%s%s %.2f (%llu bytes an image, in packets %llu, %.6g times a second)",
                           index == 0 ? "" : ", ", NameOf(cameras, index).c_str(), share.megabitsPerSecond,
                           share.imageBytes, share.wireBytes, cameras[index].framesPerSecond);
    }
    if (cameras.size() > kMaxSums) {
        sums += FormatText(", and %zu more", cameras.size() - kMaxSums);
    }
    const double usable = link.megabitsPerSecond * link.usableShare;
    return Failure(
        ERR_NOT_SUPPORTED,
        "The link cannot carry it: %.2f Mbit/s are wanted and %.2f can be used (%.6g per cent of "
        "%.10g). Wanted, with packets of %u bytes: %s. It fits at %.6g per cent of the frame rates.",
        plan.megabitsPerSecond, usable, link.usableShare * kPerCent, link.megabitsPerSecond,
        plan.cameras.front().packetSize, sums.c_str(), usable / plan.megabitsPerSecond * kPerCent);
}

}  // namespace

Error PlanLink(const LinkFacts& link, const std::vector<LinkCamera>& cameras, LinkPlan* pPlan) {
    if (pPlan == nullptr || cameras.empty()) {
        return Failure(ERR_INVALID_PARAMETER, "A plan needs at least one camera, and a place to go to.");
    }
    Error error = CheckLink(link);
    LinkPlan plan;
    for (std::size_t index = 0; index < cameras.size() && error == ERR_OK; ++index) {
        error = CheckCamera(cameras[index], NameOf(cameras, index));
        if (error == ERR_OK) {
            plan.cameras.push_back(MakeShare(link, cameras[index]));
            plan.megabitsPerSecond += plan.cameras.back().megabitsPerSecond;
        }
    }
    if (error != ERR_OK) {
        return error;
    }
    plan.share = plan.megabitsPerSecond / link.megabitsPerSecond;
    if (plan.share > link.usableShare) {
        return Refuse(link, cameras, plan);
    }
    for (LinkShare& share : plan.cameras) {
        SetDelay(link, plan.share, &share);
    }
    *pPlan = std::move(plan);
    return Error();
}

}  // namespace Zevrin
