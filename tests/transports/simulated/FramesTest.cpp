#include "ScriptedCamera.h"
#include "TestPicture.h"

namespace Zevrin {
namespace {

/// Whether this text stands in a line of a picture of one byte a pixel.
bool HasDigits(const Picture& picture, unsigned int line, const std::string& digits) {
    bool isThere = true;
    for (unsigned int dot = 0; dot < 15 * digits.size(); ++dot) {
        const unsigned int digit = dot / 15;
        const unsigned int column = kDigitPitch * digit + dot % 3;
        const unsigned int row = kDigitLinePitch * line + dot % 15 / 3;
        const bool isLit =
            (GetDigitDots(static_cast<unsigned int>(digits[digit] - '0')) << dot % 15 & 0x4000) != 0;
        isThere = isThere && picture.At(kDigitsLeft + kDigitDotSize * column + 1,
                                        kDigitsTop + kDigitDotSize * row + 1) == (isLit ? 255U : 0U);
    }
    return isThere;
}

TEST(SimulatedFrames, CarryNumberStampAndThePartOfTheSceneThatIsWanted) {
    ScriptedCamera camera(R"("frameRate": 10)");
    const Picture& picture = camera.Follow("12F8<1 +127950000 614<80000000 +250000 frames:2");
    EXPECT_EQ(picture.info.frameId, 2U);
    EXPECT_EQ(picture.info.width * 10000 + picture.info.height, 6400480U);
    EXPECT_EQ(picture.info.receivedSize, 307200U);
    EXPECT_TRUE(HasDigits(picture, 0, "1001"));
    EXPECT_TRUE(HasDigits(picture, 1, "2"));
    EXPECT_EQ(picture.Quadlet(0), 1200U << 12) << "start of exposure, across the wrap";
    for (const unsigned int y : {100U, 101U, 479U}) {
        for (const unsigned int x : {0U, 101U, 639U}) {
            EXPECT_EQ(picture.At(x, y), SceneAt(x + (y & ~3U) + 4 * 2)) << x << ", " << y;
        }
    }
    camera.Follow("614<0 800C<14000C8 8008<6400CA take");  // the region of 320 x 200 at 100, 202
    EXPECT_EQ(picture.info.receivedSize, 64000U);
    EXPECT_EQ(picture.info.stride, 320U);
    EXPECT_EQ(picture.At(200, 150), SceneAt(300 + (352 & ~3) + 4 * 3));
}

TEST(SimulatedFrames, AreStampedWithTheEmbeddedItems) {
    ScriptedCamera camera(R"("bayer": "RGGB")");
    const Picture all = camera.Follow("820<82000011 8008<0 pin:1:1 12F8<800003FF take");
    constexpr unsigned int kStamp = 66666667ULL / 125000 << 12 | (66666666 % 125000) * 3072 / 125000;
    const unsigned int expected[] = {kStamp, 0x82000011, 0x820000FA, 0x82000000, 0x82200200,
                                     1,      0,          0x40000000, 0};
    for (std::size_t item = 0; item < std::size(expected); ++item) {
        EXPECT_EQ(all.Quadlet(item), expected[item]) << "item " << item;
    }
    EXPECT_EQ(all.Quadlet(9) >> 20, 0x43951339U >> 20) << "298 K and a bit";
    const Picture& two = camera.Follow("12F8<22 take");
    EXPECT_EQ(two.Quadlet(0), 0x82000011U) << "gain";
    EXPECT_EQ(two.Quadlet(1), 2U) << "frame number";
}

TEST(SimulatedFrames, AreAccountedForWithFaults) {
    const struct {
        const char* faults;
        unsigned int sent;  // of 100 frames exposed
        unsigned int delivered;
        unsigned int corrupt;
        unsigned int dropped;
    } table[] = {
        {"{}", 100, 100, 0, 0},
        {R"({"drop": {"frames": [1, 50, 100]}})", 100, 97, 0, 3},
        {R"({"drop": {"share": 1}})", 100, 0, 0, 100},
        {R"({"corrupt": {"frames": [2, 3]}})", 100, 98, 2, 0},
        {R"({"duplicate": {"frames": [7]}})", 101, 101, 0, 0},
        {R"({"delay": {"frames": [10, 100]}, "delayUs": 30000})", 100, 99, 0, 1},
        {R"({"drop": {"frames": [4]}, "corrupt": {"frames": [4, 5]}})", 100, 98, 1, 1},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.faults);
        const auto pSimulation = MakeSimulation(
            R"({"clock": "manual", "cameras": [{"width": 64, "height": 48, "frameRate": 100, "faults": )" +
            std::string(row.faults) + "}]}");
        const auto pCamera = OpenCamera(1001);
        Listening stream(*pCamera, 200);
        WriteCommand(*pCamera, kTransmissionRegister, kOn);
        pSimulation->AdvanceClock(kSecond + 5000);
        stream.Drain();
        stream.Stop();
        pSimulation->AdvanceClock(kSecond);  // nobody listens
        SimulatedFrameCounts counts;
        ASSERT_TRUE(IsOk(pSimulation->GetFrameCounts(1001, &counts)));
        EXPECT_EQ(counts.exposed, 100U);
        EXPECT_EQ(counts.sent, row.sent);
        EXPECT_EQ(counts.lost, row.dropped);
        EXPECT_EQ(stream.Counters().delivered, row.delivered);
        EXPECT_EQ(stream.Counters().corrupt, row.corrupt);
        EXPECT_EQ(stream.Counters().dropped, row.dropped);
        EXPECT_EQ(stream.CountAll(), counts.sent);
    }
}

}  // namespace
}  // namespace Zevrin
