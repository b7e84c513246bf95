#include <cmath>
#include <ctime>

#include "GigeFixture.h"

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
        ASSERT_OK(m_camera.SetImageSize(kSize, kSize));
        config.grabTimeout = kPatienceMs;
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
        ASSERT_EQ(image.GetDataSize(), kSize * kSize);
        ASSERT_TRUE(HasTestPicture(image)) << "frame " << image.GetFrameId();
        const auto offset = image.GetData() - memory.data();
        ASSERT_TRUE(offset >= 0 && offset < kCount * kBufferSize && offset % kBufferSize == 0) << offset;
        ASSERT_GT(image.GetFrameId(), lastId);
        lastId = image.GetFrameId();
    }
    EXPECT_GT(lastId, 65535U) << "the camera's own numbers have begun again at 1";
    const TimeStamp stamp = image.GetTimeStamp();
    EXPECT_NEAR(static_cast<double>(stamp.seconds), static_cast<double>(time(nullptr)), 60);
    // The fake camera's clock is the host's, so the two times of one frame are near each other.
    const double camera = stamp.cycleSeconds + stamp.cycleCount / 8000.0;
    const double host = static_cast<double>(stamp.seconds % 128) + stamp.microSeconds / 1e6;
    const double distance = std::abs(camera - host);
    EXPECT_LT(std::min(distance, 128 - distance), 20) << camera << ' ' << host;

    // Transmission pauses without a gap, which would be counted.
    m_camera.Quieten(&image);
    EXPECT_EQ(m_camera.WaitForBufferEvent(&image, kQuietMs).GetType(), ERR_TIMEOUT);
    ASSERT_OK(m_camera.WriteRegister(kTransmission, kOn));
    ASSERT_OK(m_camera.RetrieveBuffer(&image));
    EXPECT_GT(image.GetFrameId(), lastId);
    m_camera.Quieten(&image);
    const unsigned int counted = m_camera.CountAll();
    ASSERT_OK(m_camera.StopCapture());
    EXPECT_EQ(m_camera.CountAll(), counted);
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
    const unsigned int before = m_camera.GetStream().GetNumOfImageDriverDropped();
    EXPECT_TRUE(Await([&] { return m_camera.GetStream().GetNumOfImageDriverDropped() >= before + 30; }));
    ASSERT_OK(m_camera.RetrieveBuffer(&image));
    EXPECT_GT(image.GetFrameId(), firstId + 20) << "not one of the first, which have waited long";
    ASSERT_TRUE(HasTestPicture(image));
    m_camera.Quieten(&image);
}

TEST_F(GigeStreamTest, FramesThatFindNoBufferAreDriverDropped) {
    ZevrinConfig config;
    config.numBuffers = 3;
    config.packetSize = 600;
    Begin(config, {"--frame-rate", "50"});
    // So many packets that buffers become free in the midst of a frame.
    ASSERT_OK(m_camera.SetImageSize(200, 200));
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    Image held[3];
    Image image;
    const auto countSent = [this] {
        unsigned int count = 0;
        EXPECT_OK(m_camera.ReadMemory(kFrameCountAddress, &count));
        return count;
    };
    for (unsigned int round = 0; round < 5; ++round) {
        for (Image& heldImage : held) {
            ASSERT_OK(m_camera.RetrieveBuffer(&heldImage));
        }
        EXPECT_TRUE(Await([&, first = countSent()] { return countSent() >= first + 10; }));
        EXPECT_EQ(m_camera.WaitForBufferEvent(&image, 0).GetType(), ERR_TIMEOUT);
        for (Image& heldImage : held) {
            ASSERT_TRUE(HasTestPicture(heldImage))
                << "it has been held, so nothing may have been written into it";
            ASSERT_OK(heldImage.ReleaseBuffer());
        }
    }
    m_camera.Quieten(&image);
    EXPECT_GT(m_camera.GetStream().GetNumOfImageDriverDropped(), 10U);
}

TEST_F(GigeStreamTest, IncompleteFramesAreCountedAndHandedOverOnRequest) {
    ZevrinConfig config;
    config.packetSize = 1500;
    Begin(config, {"--frame-rate", "100", "--packet-loss", "2"});
    for (const bool deliverIncomplete : {false, true}) {
        config.deliverIncomplete = deliverIncomplete;
        ASSERT_OK(m_camera.SetConfiguration(&config));
        ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
        Image image;
        unsigned int incomplete = 0;
        const unsigned int corruptBefore = m_camera.GetStream().GetNumOfImageCorrupt();
        while (m_camera.GetStream().GetNumOfImageCorrupt() < corruptBefore + 20) {
            ASSERT_OK(m_camera.WaitForBufferEvent(&image, kPatienceMs));
            incomplete += image.IsComplete() ? 0 : 1;
            EXPECT_EQ(image.GetDataSize(), kSize * kSize);
            EXPECT_EQ(image.GetHeight(), kSize);
            EXPECT_TRUE(image.IsComplete() ? HasTestPicture(image) : FindPicture(image) >= 0)
                << "what is not missing is as it was sent";
        }
        EXPECT_EQ(incomplete > 0, deliverIncomplete);
        m_camera.Quieten(&image);
        ASSERT_OK(m_camera.StopCapture());
    }
}

TEST_F(GigeStreamTest, CameraThatSendsMoreThanItSaidWritesNothingBeyondItsBuffers) {
    for (const bool deliverIncomplete : {false, true}) {
        constexpr std::size_t kCount = 4;
        constexpr std::size_t kBufferSize = 4200;  // of which 4100 are the stream's
        ZevrinConfig config;
        config.packetSize = 1500;
        config.deliverIncomplete = deliverIncomplete;
        Begin(config, {"--genicam", Describe("liar.xml"), "--frame-rate", "100"});
        std::vector<unsigned char> memory(kCount * kBufferSize, 0xA5);
        ASSERT_OK(m_camera.SetUserBuffers(memory.data(), kBufferSize, kCount));
        ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
        Image image;
        for (unsigned int frame = 0; deliverIncomplete && frame < 10; ++frame) {
            ASSERT_OK(m_camera.RetrieveBuffer(&image));
            EXPECT_FALSE(image.IsComplete());
            EXPECT_LE(image.GetDataSize(), 4100U);
            EXPECT_LE(std::size_t{image.GetHeight()} * image.GetStride(), image.GetDataSize());
        }
        EXPECT_TRUE(Await([&] { return m_camera.GetStream().GetNumOfImageCorrupt() > 0; }));
        EXPECT_TRUE(deliverIncomplete || m_camera.WaitForBufferEvent(&image, 100) == ERR_TIMEOUT);
        EXPECT_EQ(m_camera.GetStream().GetNumOfImageDelivered(), 0U);
        ASSERT_OK(image.ReleaseBuffer());
        ASSERT_OK(m_camera.Disconnect());
        for (std::size_t byte = 0; byte < memory.size(); ++byte) {
            ASSERT_TRUE(byte % kBufferSize < 4100 || memory[byte] == 0xA5) << byte;
        }
    }
}

TEST_F(GigeStreamTest, PixelFormatsKeepTheirSizeAndColourOrder) {
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
        {0x0108000A, PIXEL_FORMAT_RAW8, BAYER_GBRG, kSize, kSize, 8},
        {0x01100011, PIXEL_FORMAT_RAW16, BAYER_RGGB, 126, 2 * 126, 12},
        {0x01100007, PIXEL_FORMAT_MONO16, BAYER_NONE, kSize, 2 * kSize, 16},
        {0x02180014, PIXEL_FORMAT_RGB8, BAYER_NONE, kSize, 3 * kSize, 8},
        {0x02180015, PIXEL_FORMAT_BGR8, BAYER_NONE, kSize, 3 * kSize, 8},
        {0x0210001F, PIXEL_FORMAT_YUV422, BAYER_NONE, kSize, 2 * kSize, 8},
        {0x02180021, PIXEL_FORMAT_UNKNOWN, BAYER_NONE, 126, 3 * 126, 0},  // planar
        {0x010C0006, PIXEL_FORMAT_MONO12_PACKED, BAYER_NONE, kSize, 3 * kSize / 2, 12},
        {0x010C0006, PIXEL_FORMAT_MONO12_PACKED, BAYER_NONE, 125, 0, 12},  // every other row begins in a byte
    };
    Begin(ZevrinConfig());
    for (const auto& one : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << one.code);
        ASSERT_OK(m_camera.WriteMemory(0x128, one.code));
        ASSERT_OK(m_camera.SetImageSize(one.width, kSize));
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
    ASSERT_OK(m_camera.WriteMemory(kPacketDelayAddress, 77));
    TriggerMode trigger;
    ASSERT_OK(m_camera.GetTriggerMode(&trigger));
    trigger.onOff = true;
    trigger.source = 7;
    ASSERT_OK(m_camera.SetTriggerMode(&trigger));
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    // Before the first packet, which a trigger keeps away. The system counts its own part of the memory, too:
    // twice what was asked for.
    EXPECT_NE(SpawnShell("PATH=$PATH:/usr/sbin; ss -uanm").output.find(",rb123456,"), std::string::npos);
    unsigned int value = 0;
    ASSERT_OK(m_camera.ReadMemory(0x0D04, &value));
    EXPECT_EQ(value & 0xFFFF, 1600U);
    ASSERT_OK(m_camera.ReadMemory(kPacketDelayAddress, &value));
    EXPECT_EQ(value, 20000U);
    ASSERT_OK(m_camera.StopCapture());

    config.packetDelay = 0;
    ASSERT_OK(m_camera.SetConfiguration(&config));
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    ASSERT_OK(m_camera.ReadMemory(kPacketDelayAddress, &value));
    EXPECT_EQ(value, 77U) << "the camera's own";
    ASSERT_OK(m_camera.StopCapture());

    for (const unsigned int packetSize : {100U, 1601U, 65536U}) {
        config.packetSize = packetSize;
        ASSERT_OK(m_camera.SetConfiguration(&config));
        EXPECT_EQ(m_camera.StartCapture(nullptr, nullptr).GetType(), ERR_VALUE_OUT_OF_RANGE) << packetSize;
    }
}

TEST_F(GigeStreamTest, StopsFromWithinTheCallbackAndStartsAgain) {
    Begin(ZevrinConfig());
    struct State {
        TestCamera* pCamera;
        unsigned int images = 0;
        std::atomic<bool> stopped{false};
    } state{&m_camera};
    const auto onImage = [](Image* pImage, const void* pData) {
        State& told = *static_cast<State*>(const_cast<void*>(pData));
        EXPECT_TRUE(HasTestPicture(*pImage));
        if (++told.images % 20 == 0) {
            told.stopped = told.pCamera->StopCapture() == ERR_OK;
        }
    };
    for (unsigned int round = 1; round <= 3; ++round) {
        state.stopped = false;
        ASSERT_OK(m_camera.StartCapture(onImage, &state));
        EXPECT_TRUE(Await([&] { return state.stopped.load(); }));
        EXPECT_EQ(state.images, 20 * round);
    }
}

}  // namespace
}  // namespace Zevrin
