#include <algorithm>
#include <atomic>
#include <cstring>

#include "GigeFixture.h"
#include "support/Spawn.h"

namespace Zevrin {
namespace {

constexpr unsigned int kSize = 128;  // pixels, of a side
constexpr unsigned int kPacketDelayAddress = 0x0D08;
constexpr unsigned int kQuietMs = 500;  // much longer than a frame's period

class GigeStreamTest : public GigeTest {
  protected:
    void Begin(ZevrinConfig config, const std::vector<std::string>& options = {"--frame-rate", "100"}) {
        StartFakeCamera(options);
        ASSERT_OK(m_camera.Connect(kSerialNumber));
        ASSERT_OK(SetImageSize(kSize, kSize));
        config.grabTimeout = 30000;
        config.socketBufferSize = 4 << 20;  // a busy machine looks late
        ASSERT_OK(m_camera.SetConfiguration(&config));
    }
};

TEST_F(GigeStreamTest, TwoHundredFramesArriveIntactInTheCallersBuffers) {
    Begin(ZevrinConfig());
    constexpr int kCount = 8;
    constexpr int kBufferSize = kSize * kSize + 1000;  // larger than an image
    std::vector<unsigned char> memory(kCount * kBufferSize);
    ASSERT_OK(m_camera.SetUserBuffers(memory.data(), kBufferSize, kCount));
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));

    Image image;
    unsigned long long lastId = 0;
    for (unsigned int frame = 0; frame < 200; ++frame) {
        ASSERT_OK(m_camera.RetrieveBuffer(&image));
        ASSERT_TRUE(image.IsComplete());
        ASSERT_EQ(image.GetWidth(), kSize);
        ASSERT_EQ(image.GetHeight(), kSize);
        ASSERT_EQ(image.GetStride(), kSize);
        ASSERT_EQ(image.GetDataSize(), kSize * kSize);
        ASSERT_EQ(image.GetPixelFormat(), PIXEL_FORMAT_MONO8);
        ASSERT_TRUE(HasTestPicture(image)) << "frame " << image.GetFrameId();
        const auto offset = image.GetData() - memory.data();
        ASSERT_TRUE(offset >= 0 && offset < kCount * kBufferSize && offset % kBufferSize == 0) << offset;
        ASSERT_GT(image.GetFrameId(), lastId);
        lastId = image.GetFrameId();
    }
    EXPECT_GT(lastId, 65535U) << "the camera's own numbers have begun again at 1";
    m_camera.Quieten(0, &image);
    const unsigned int counted = m_camera.CountAll();
    ASSERT_OK(m_camera.StopCapture());
    EXPECT_EQ(m_camera.CountAll(), counted);
}

TEST_F(GigeStreamTest, TimeStampsAreTheCamerasAndTheHosts) {
    Begin(ZevrinConfig());
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    Image image;
    ASSERT_OK(m_camera.RetrieveBuffer(&image));
    const TimeStamp stamp = image.GetTimeStamp();
    EXPECT_NEAR(static_cast<double>(stamp.seconds), static_cast<double>(time(nullptr)), 30);
    // The fake camera's clock is the host's, so the two times of one frame are near each other.
    const double camera = stamp.cycleSeconds + stamp.cycleCount / 8000.0;
    const double host = static_cast<double>(stamp.seconds % 128) + stamp.microSeconds / 1e6;
    const double distance = std::abs(camera - host);
    EXPECT_LT(std::min(distance, 128 - distance), 5) << camera << ' ' << host;
}

TEST_F(GigeStreamTest, NewestModeDropsTheOldestAndKeepsGoing) {
    ZevrinConfig config;
    config.numBuffers = 4;
    config.grabMode = GRAB_NEWEST;
    Begin(config);
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    Image image;
    ASSERT_OK(m_camera.RetrieveBuffer(&image));
    const unsigned long long firstId = image.GetFrameId();
    EXPECT_TRUE(Comes([&] { return m_camera.GetStream().GetNumOfImageDriverDropped() >= 30; }));
    ASSERT_OK(m_camera.RetrieveBuffer(&image));
    EXPECT_GT(image.GetFrameId(), firstId + 20) << "not one of the first, which have waited long";
    ASSERT_TRUE(HasTestPicture(image));
    m_camera.Quieten(0, &image);
    EXPECT_LT(m_camera.GetStream().GetNumOfImageDropped(), 10U) << "a busy machine loses some";
}

TEST_F(GigeStreamTest, FramesThatFindNoBufferAreDriverDropped) {
    ZevrinConfig config;
    config.numBuffers = 3;
    config.packetSize = 600;
    Begin(config, {"--frame-rate", "50"});
    ASSERT_OK(SetImageSize(400, 400));  // so many packets that buffers become free in the midst of a frame
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    Image held[3];
    Image image;
    for (unsigned int round = 0; round < 5; ++round) {
        for (Image& heldImage : held) {
            ASSERT_OK(m_camera.RetrieveBuffer(&heldImage));
        }
        EXPECT_EQ(m_camera.WaitForBufferEvent(&image, kQuietMs).GetType(), ERR_TIMEOUT);
        for (Image& heldImage : held) {
            ASSERT_TRUE(HasTestPicture(heldImage))
                << "it has been held, so nothing may have been written into it";
            ASSERT_OK(heldImage.ReleaseBuffer());
        }
    }
    ASSERT_OK(m_camera.RetrieveBuffer(&image));
    m_camera.Quieten(0, &image);
    EXPECT_GT(m_camera.GetStream().GetNumOfImageDriverDropped(), 10U);
    EXPECT_LT(m_camera.GetStream().GetNumOfImageDropped(), 10U) << "a busy machine loses some";
}

TEST_F(GigeStreamTest, IncompleteFramesAreCountedAndHandedOverOnRequest) {
    for (const bool deliverIncomplete : {false, true}) {
        ZevrinConfig config;
        config.deliverIncomplete = deliverIncomplete;
        config.packetSize = 1500;
        Begin(config, {"--frame-rate", "100", "--packet-loss", "2"});
        const unsigned int before = m_camera.CountAll();
        ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
        Image image;
        unsigned int incomplete = 0;
        for (unsigned int frame = 0; frame < 100; ++frame) {
            ASSERT_OK(m_camera.RetrieveBuffer(&image));
            incomplete += image.IsComplete() ? 0 : 1;
            EXPECT_EQ(image.GetDataSize(), kSize * kSize);
            EXPECT_EQ(image.GetHeight(), kSize);
            EXPECT_TRUE(image.IsComplete() ? HasTestPicture(image) : FindPicture(image) >= 0)
                << "what is not missing is as it was sent";
        }
        EXPECT_EQ(incomplete > 0, deliverIncomplete);
        m_camera.Quieten(before, &image);
        EXPECT_GT(m_camera.GetStream().GetNumOfImageCorrupt(), 0U);
        m_camera.GetStream().ResetNumOfImageCorrupt();
        ASSERT_OK(m_camera.Disconnect());
    }
}

TEST_F(GigeStreamTest, TransmissionPausesWithoutAGap) {
    Begin(ZevrinConfig());
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    Image image;
    ASSERT_OK(m_camera.RetrieveBuffer(&image));
    const unsigned long long firstId = image.GetFrameId();
    m_camera.Quieten(0, &image);
    EXPECT_EQ(m_camera.WaitForBufferEvent(&image, kQuietMs).GetType(), ERR_TIMEOUT);
    ASSERT_OK(m_camera.WriteRegister(kTransmission, kOn));
    ASSERT_OK(m_camera.RetrieveBuffer(&image));
    EXPECT_GT(image.GetFrameId(), firstId);
    m_camera.Quieten(0, &image);  // a gap would be counted
}

TEST_F(GigeStreamTest, ColourFormatsAreTold) {
    const struct {
        unsigned int code;  ///< GenICam pixel format
        PixelFormat format;
        BayerTileFormat bayerFormat;
        unsigned int width;
        unsigned int stride;
        unsigned int significantBits;
    } cases[] = {
        {0x01080009, PIXEL_FORMAT_RAW8, BAYER_RGGB, kSize, kSize, 8},
        {0x01080008, PIXEL_FORMAT_RAW8, BAYER_GRBG, kSize, kSize, 8},
        {0x01100011, PIXEL_FORMAT_RAW16, BAYER_RGGB, 126, 2 * 126, 12},
        {0x01100007, PIXEL_FORMAT_MONO16, BAYER_NONE, kSize, 2 * kSize, 16},
        {0x02180014, PIXEL_FORMAT_RGB8, BAYER_NONE, kSize, 3 * kSize, 8},
        {0x010C0006, PIXEL_FORMAT_MONO12_PACKED, BAYER_NONE, kSize, 3 * kSize / 2, 12},
        {0x010C0006, PIXEL_FORMAT_MONO12_PACKED, BAYER_NONE, 125, 0, 12},  // every other row begins in a byte
    };
    Begin(ZevrinConfig());
    for (const auto& one : cases) {
        ASSERT_OK(Write(0x128, one.code));
        ASSERT_OK(SetImageSize(one.width, kSize));
        BayerTileFormat bayerFormat = BAYER_NONE;
        ASSERT_OK(m_camera.GetBayerFormat(&bayerFormat));
        EXPECT_EQ(bayerFormat, one.bayerFormat);
        ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
        Image image;
        ASSERT_OK(m_camera.RetrieveBuffer(&image));
        EXPECT_EQ(image.GetPixelFormat(), one.format);
        EXPECT_EQ(image.GetBayerTileFormat(), one.bayerFormat);
        EXPECT_EQ(image.GetStride(), one.stride);
        EXPECT_EQ(image.GetSignificantBits(), one.significantBits);
        EXPECT_EQ(image.GetHeight(), kSize);
        EXPECT_EQ(image.GetDataSize(), one.width * kSize * ((one.code >> 16) & 0xFF) / 8);
        EXPECT_TRUE(image.IsComplete());
        EXPECT_FALSE(image.IsBigEndian());
        ASSERT_OK(m_camera.StopCapture());
        EXPECT_TRUE(one.width != kSize || HasTestPicture(image)) << "an image outlives its stream";
    }
}

TEST_F(GigeStreamTest, PacketSettingsReachTheCameraOrAreRefused) {
    ZevrinConfig config;
    config.packetSize = 1600;
    config.packetDelay = 20000;  // ns; the fake camera's clock ticks each nanosecond
    Begin(config);
    config.socketBufferSize = 123456 / 2;
    ASSERT_OK(m_camera.SetConfiguration(&config));
    ASSERT_OK(Write(kPacketDelayAddress, 77));
    TriggerMode trigger;
    ASSERT_OK(m_camera.GetTriggerMode(&trigger));
    trigger.onOff = true;
    trigger.source = 7;
    ASSERT_OK(m_camera.SetTriggerMode(&trigger));
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    // Before the first packet, which a trigger keeps away. The system counts its own part of the memory, too:
    // twice what was asked for.
    EXPECT_NE(SpawnShell("PATH=$PATH:/usr/sbin; ss -uanm").output.find(",rb123456,"), std::string::npos);
    trigger.onOff = false;
    ASSERT_OK(m_camera.SetTriggerMode(&trigger));
    unsigned int value = 0;
    ASSERT_OK(Read(0x0D04, &value));
    EXPECT_EQ(value & 0xFFFF, 1600U);
    ASSERT_OK(Read(kPacketDelayAddress, &value));
    EXPECT_EQ(value, 20000U);
    Image image;
    ASSERT_OK(m_camera.RetrieveBuffer(&image));
    EXPECT_TRUE(HasTestPicture(image));
    ASSERT_OK(m_camera.StopCapture());

    config.packetDelay = 0;
    ASSERT_OK(m_camera.SetConfiguration(&config));
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    ASSERT_OK(Read(kPacketDelayAddress, &value));
    EXPECT_EQ(value, 77U) << "the camera's own";
    ASSERT_OK(m_camera.StopCapture());

    for (const unsigned int packetSize : {100U, 1601U, 65536U}) {
        config.packetSize = packetSize;
        ASSERT_OK(m_camera.SetConfiguration(&config));
        EXPECT_EQ(m_camera.StartCapture(nullptr, nullptr).GetType(), ERR_VALUE_OUT_OF_RANGE) << packetSize;
    }
}

struct CallbackState {
    TestCamera* pCamera = nullptr;
    std::atomic<unsigned int> images{0};
    std::atomic<unsigned int> wrong{0};
    std::atomic<bool> stopped{false};
};

void OnImage(Image* pImage, const void* pData) {
    auto* const pState = static_cast<CallbackState*>(const_cast<void*>(pData));
    pState->wrong += HasTestPicture(*pImage) ? 0 : 1;
    if (++pState->images == 20) {
        pState->stopped = pState->pCamera->StopCapture() == ERR_OK;
    }
}

TEST_F(GigeStreamTest, StopsFromWithinTheCallbackAndStartsAgain) {
    Begin(ZevrinConfig());
    CallbackState state;
    state.pCamera = &m_camera;
    for (unsigned int round = 0; round < 3; ++round) {
        state.images = 0;
        state.stopped = false;
        ASSERT_OK(m_camera.StartCapture(OnImage, &state));
        EXPECT_TRUE(Comes([&] { return state.stopped.load(); }));
        EXPECT_EQ(state.images, 20U);
    }
    EXPECT_EQ(state.wrong, 0U);
}

}  // namespace
}  // namespace Zevrin
