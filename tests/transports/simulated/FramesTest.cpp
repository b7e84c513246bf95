#include "ScriptedCamera.h"
#include "TestPicture.h"

namespace Zevrin {
namespace {

/// The number that stands in a line of a picture with one byte a pixel; -1 when it cannot be read.
long ReadNumber(const Frame& frame, unsigned int line) {
    long number = 0;
    const unsigned int top = kDigitsTop + line * kDigitLinePitch * kDigitDotSize;
    for (unsigned int index = 0;; ++index) {
        const unsigned int left = kDigitsLeft + index * kDigitPitch * kDigitDotSize;
        unsigned int dots = 0;
        bool isDigit = true;
        for (unsigned int dot = 0; dot < 15; ++dot) {
            const unsigned int x = left + dot % 3 * kDigitDotSize + kDigitDotSize / 2;
            const unsigned int y = top + dot / 3 * kDigitDotSize + kDigitDotSize / 2;
            const unsigned char value = frame.data[y * frame.info.stride + x];
            isDigit = isDigit && (value == 0 || value == 255);
            dots = dots << 1 | (value == 255 ? 1 : 0);
        }
        unsigned int digit = 0;
        while (digit < 10 && dots != GetDigitDots(digit)) {
            ++digit;
        }
        if (!isDigit || digit == 10) {
            return index == 0 ? -1 : number;
        }
        number = number * 10 + digit;
    }
}

constexpr unsigned long long kExposure = 5000;  // microseconds

TEST(SimulatedFrames, FlowAtTheirRateWhileTransmissionIsOnAndSomebodyListens) {
    const auto pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{"frameRate": 25}]})");
    const auto pCamera = OpenCamera(1001);
    SimulatedFrameCounts counts;
    pSimulation->AdvanceClock(kSecond);

    Listening stream(*pCamera);
    pSimulation->AdvanceClock(kSecond);
    EXPECT_EQ(stream.Drain(), 0U) << "transmission is off";

    WriteCommand(*pCamera, kTransmissionRegister, kOn);
    pSimulation->AdvanceClock(kSecond + kExposure - 1);
    EXPECT_EQ(stream.Drain(), 24U);
    pSimulation->AdvanceClock(1);
    EXPECT_EQ(stream.Drain(), 1U);
    for (int second = 0; second < 200; ++second) {
        pSimulation->AdvanceClock(kSecond);
        ASSERT_EQ(stream.Drain(), 25U) << "second " << second;
    }
    WriteCommand(*pCamera, kTransmissionRegister, 0);
    pSimulation->AdvanceClock(kSecond);
    EXPECT_EQ(stream.Drain(), 0U) << "transmission is off again";

    WriteCommand(*pCamera, kTransmissionRegister, kOn);
    stream.Stop();
    pSimulation->AdvanceClock(kSecond);
    ASSERT_TRUE(IsOk(pSimulation->GetFrameCounts(1001, &counts)));
    EXPECT_EQ(counts.sent, 25U * 201U) << "nobody listens";
}

TEST(SimulatedFrames, FollowTheStandardsRatesAndTheFeature) {
    ScriptedCamera(R"({"clock": "manual", "cameras": [{}]})").Follow(R"(
30F8<42200000 83C<C2000000 81C<820000FA 614<80000000 +10000100 614<0 count:400 # absolute 40
83C<82000065 614<80000000 +10000100 614<0 count:252 # raw 101 is 25.25
83C<80000000 81C<820003E8 614<80000000 +10000100 614<0 count:500 # off: as fast as the shutter of 20 ms
83C<82000FA0 81C<82000001 614<80000000 +10000100 614<0 count:8000 # 1000 is more than 10 packets allow
83C<820000C8 81C<82000FFF 614<80000000 +10000100 614<0 count:500 # a long shutter is cut short
83C<82000001 614<80000000 +1000000 83C<820000C8 +1000000 614<0 count:49 # from 0.25 to 50 at once
81C<820000FA 604<A0000000 608<0 # 640 x 480 mono, at the standard's rates
600<0 614<80000000 +8005000 614<0 count:15
600<20000000 614<80000000 +8005000 614<0 count:30
600<40000000 614<80000000 +8005000 614<0 count:60
600<60000000 614<80000000 +8005000 614<0 count:120
600<80000000 614<80000000 +8005000 614<0 count:240
600<A0000000 614<80000000 +8005000 614<0 count:480
600<C0000000 614<80000000 +8005000 614<0 count:960
600<E0000000 614<80000000 +8005000 614<0 count:1920
)");
}

TEST(SimulatedFrames, CarryNumberPictureAndStamp) {
    const auto pSimulation =
        MakeSimulation(R"({"clock": "manual", "cameras": [{"serial": 9073, "frameRate": 10}]})");
    const auto pCamera = OpenCamera(9073);
    WriteCommand(*pCamera, 0x12F8, 1);
    Listening stream(*pCamera);
    pSimulation->AdvanceClock(127 * kSecond + 950000);
    WriteCommand(*pCamera, kTransmissionRegister, kOn);
    pSimulation->AdvanceClock(250000);
    unsigned int expectedId = 1;
    const unsigned int expectedStamps[] = {400U * 3072, 1200U * 3072};
    stream.Drain([&](const Frame& frame) {
        EXPECT_EQ(frame.info.frameId, expectedId);
        EXPECT_EQ(frame.info.width * 10000 + frame.info.height, 6400480U);
        EXPECT_EQ(frame.info.receivedSize, 307200U);
        EXPECT_EQ(ReadNumber(frame, 0), 9073);
        EXPECT_EQ(ReadNumber(frame, 1), static_cast<long>(expectedId));
        EXPECT_EQ(ReadStamp(frame), expectedStamps[expectedId - 1]) << "start of exposure, across the wrap";
        for (const unsigned int y : {100U, 101U, 479U}) {
            for (const unsigned int x : {0U, 101U, 639U}) {
                EXPECT_EQ(frame.data[y * 640 + x], SceneAt(x + (y & ~3U) + 4 * expectedId)) << x << ", " << y;
            }
        }
        ++expectedId;
    });
    EXPECT_EQ(expectedId, 3U);
}

TEST(SimulatedFrames, OfColourCamerasAreRawMosaics) {
    const auto pSimulation =
        MakeSimulation(R"({"clock": "manual", "cameras": [{"bayer": "GRBG", "interface": "gige"}]})");
    const Picture picture = TakePicture(*pSimulation, *OpenCamera(1001));
    EXPECT_EQ(picture.info.pixelFormat, PIXEL_FORMAT_RAW8);
    EXPECT_EQ(picture.info.bayerFormat, BAYER_GRBG);
    EXPECT_TRUE(picture.info.hasTimeStamp) << "comes beside the image on this interface";
    const unsigned int phase = 200 + 300 + 4;
    EXPECT_EQ(picture.At(300, 200), SceneAt(phase + 85)) << "green";
    EXPECT_EQ(picture.At(301, 200), SceneAt(phase + 1)) << "red";
    EXPECT_EQ(picture.At(300, 201), SceneAt(phase + 170)) << "blue";
    EXPECT_EQ(picture.At(301, 201), SceneAt(phase + 1 + 85)) << "green";
}

TEST(SimulatedFrames, ShowTheRegionOfFormat7) {
    const auto pSimulation = MakeSimulation(R"({"clock": "manual", "cameras": [{}]})");
    const auto pCamera = OpenCamera(1001);
    WriteCommand(*pCamera, 0x800C, 320U << 16 | 200);
    WriteCommand(*pCamera, 0x8008, 100U << 16 | 202);
    const Picture picture = TakePicture(*pSimulation, *pCamera);
    EXPECT_EQ(picture.info.receivedSize, 64000U);
    EXPECT_EQ(picture.info.stride, 320U);
    EXPECT_EQ(picture.At(200, 150), SceneAt(300 + (352 & ~3) + 4));
}

}  // namespace
}  // namespace Zevrin
