#include "zevrin/LinkPlan.h"

#include <cmath>

#include "support/Checks.h"

namespace Zevrin {
namespace {

LinkCamera MakeCamera(unsigned int width, unsigned int height, unsigned int bits, double rate) {
    return {"", width, height, bits, 0, rate, {}};
}

LinkFacts MakeLink(double megabits, unsigned int mtu, double share) {
    return {megabits, mtu, share, {}};
}

/// By hand: a packet of n bytes takes n + 38 on the wire (preamble 8, header 14, checksum 4, gap 12), a
/// leader 72 + 38 = 110, a trailer 44, padded to 46, + 38 = 84; it carries n - 36 bytes of the image.
TEST(LinkPlan, SumsAreThoseDoneByHand) {
    const struct {
        LinkFacts link;
        LinkCamera camera;
        unsigned int otherHeight;  ///< of a second camera, which is like the first otherwise; 0: none
        unsigned long long imageBytes, packets, wireBytes;
        double megabits, total;
        unsigned int packetSize, delay;
    } cases[] = {
        // 640 * 480 = 307200 = 209 * 1464 + 1224; 110 + 209 * 1538 + (1224 + 36 + 38) + 84 = 322934;
        // * 8 * 100 = 258.3472 Mbit/s; alone and with all of the link: at full speed.
        {MakeLink(1000, 1500, 1), MakeCamera(640, 480, 8, 100), 0, 307200, 210, 322934, 258.3472, 258.3472,
         1500, 0},
        // Half of the link each: 2.583472 ms more, over 212 packets: 12186.19 ns.
        {MakeLink(1000, 1500, 1), MakeCamera(640, 480, 8, 100), 480, 307200, 210, 322934, 258.3472, 516.6944,
         1500, 12186},
        // 12 bits: 3 pixels take 36 bits, 5 bytes. 110 + (5 + 36 -> 46 + 38) + 84 = 278; at half the speed
        // 278 * 8 = 2224 ns more over 3 packets: 741.33 ns.
        {MakeLink(1000, 1500, 0.5), MakeCamera(3, 1, 12, 1000), 0, 5, 1, 278, 2.224, 2.224, 1500, 741},
        // 8964 bytes in one packet of 9000, no rest: 110 + 9038 + 84 = 9232, 10 times a second 0.73856. The
        // other: 2 * 8964 in 18270, 1.4616. 9232 * 0.8 = 7385.6 ns undelayed, * 2.20016 / 0.73856 - 7385.6 =
        // 14616 over 3 packets: 4872 ns.
        {MakeLink(10000, 9003, 1), MakeCamera(8964, 1, 8, 10), 2, 8964, 1, 9232, 0.73856, 2.20016, 9000,
         4872},
        // The largest image there is: 2^43 bytes = 134299698 * 65496 + 2000, once in 1000 s.
        {MakeLink(1e6, 65535, 1), MakeCamera(1 << 20, 1 << 20, 64, 0.001), 0, 8796093022208, 134299699,
         8806031200128, 70448.249601024, 70448.249601024, 65532, 0},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.wireBytes);
        std::vector<LinkCamera> cameras(one.otherHeight != 0 ? 2 : 1, one.camera);
        cameras.back().height = one.otherHeight != 0 ? one.otherHeight : one.camera.height;
        LinkPlan plan;
        ASSERT_TRUE(IsOk(PlanLink(one.link, cameras, &plan)));
        ASSERT_EQ(plan.cameras.size(), cameras.size());
        const LinkShare& share = plan.cameras.front();
        EXPECT_EQ(share.packetSize, one.packetSize);
        EXPECT_EQ(share.imageBytes, one.imageBytes);
        EXPECT_EQ(share.imagePackets, one.packets);
        EXPECT_EQ(share.wireBytes, one.wireBytes);
        EXPECT_EQ(share.packetDelay, one.delay);
        EXPECT_DOUBLE_EQ(share.megabitsPerSecond, one.megabits);
        EXPECT_DOUBLE_EQ(share.share, one.megabits / one.link.megabitsPerSecond);
        EXPECT_DOUBLE_EQ(plan.megabitsPerSecond, one.total);
        const double undelayedMs = share.share / one.camera.framesPerSecond * 1e3;
        const double delayMs = static_cast<double>(one.packets + 1) * one.delay * 1e-6;
        EXPECT_NEAR(share.sendingMs, undelayedMs + delayMs, undelayedMs * 1e-9);
    }
}

TEST(LinkPlan, RefusesWhatIsOutOfRangeOrDoesNotFit) {
    const LinkFacts good;
    const LinkCamera camera = MakeCamera(640, 480, 8, 400);
    LinkCamera named = camera;
    named.name = "left%s";
    const struct {
        LinkFacts link;
        LinkCamera camera;
        const char* part;
        ErrorType error = ERR_VALUE_OUT_OF_RANGE;
    } cases[] = {
        {good, named,
         "camera left\\x25s 1033.39 (307200 bytes an image, in packets 322934, 400 times a second). It fits "
         "at "
         "91.9305 per cent of the frame rates",
         ERR_NOT_SUPPORTED},
        {MakeLink(std::nan(""), 1500, 1), camera, "per second of the link is nan; it must be 1 to 1000000"},
        {MakeLink(1000, 575, 1), camera, "in bytes of the link is 575; it must be 576 to 65535"},
        {MakeLink(1000, 1500, 1.1), camera, "usable share of the link is 1.1"},
        {good, MakeCamera(0, 1, 8, 1), "width in pixels of camera 1 is 0; it must be 1 to 1048576"},
        {good, MakeCamera(1, 4294967295U, 8, 1), "height in pixels of camera 1 is 4294967295"},
        {good, MakeCamera(1, 1, 65, 1), "bits per pixel of camera 1 is 65"},
        {good, MakeCamera(1, 1, 8, -1), "frames per second of camera 1 is -1"},
    };
    LinkPlan plan;
    plan.share = -1;
    for (const auto& one : cases) {
        EXPECT_TRUE(SaysPart(PlanLink(one.link, {one.camera}, &plan), one.error, one.part));
    }
    EXPECT_EQ(PlanLink(good, {}, &plan), ERR_INVALID_PARAMETER);
    EXPECT_EQ(PlanLink(good, {camera}, nullptr), ERR_INVALID_PARAMETER);
    EXPECT_EQ(plan.share, -1) << "untouched";
    EXPECT_EQ(PlanLink(good, {MakeCamera(640, 480, 8, 400 * 0.919305)}, &plan), ERR_OK);
}

}  // namespace
}  // namespace Zevrin
