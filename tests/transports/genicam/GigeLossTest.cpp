#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>

#include "GigeFixture.h"

namespace Zevrin {
namespace {

using std::chrono::steady_clock;

// A machine at leisure takes a second, as promised; without the watch over the camera it takes six.
constexpr std::chrono::seconds kLossTakes(5);

// An image that the system can hold while a busy machine does not look.
constexpr unsigned int kSide = 128;

/// Makes the call again and again until it fails, and tells when.
void ExpectLost(const char* what, const std::function<Error()>& call) {
    const auto begin = steady_clock::now();
    Error error;
    while ((error = call()) == ERR_OK) {
    }
    EXPECT_EQ(error.GetType(), ERR_CAMERA_LOST) << error.GetTrace();
    std::printf("%s ended after %.2f s\n", what,
                std::chrono::duration<double>(steady_clock::now() - begin).count());
}

// A killed camera's port is refused. Nothing tells of one that is stopped, as with a cable that was pulled
// out.
TEST_F(GigeTest, LossEndsAllWaitingAndTheCameraComesBack) {
    std::atomic<int> gone{0};
    std::atomic<int> come{0};
    std::atomic<bool> hasEnded{false};  // the retrieval
    const std::shared_ptr<void> unwatched(nullptr, [this](void*) { m_system.Watch(nullptr); });
    m_system.Watch([&](const CameraListing& camera, bool isPresent) {
        EXPECT_EQ(camera.serialNumber, kSerialNumber);
        EXPECT_TRUE(isPresent || Await([&] { return hasEnded.load(); })) << "it may wait for who grabs";
        ++(isPresent ? come : gone);
    });
    for (const int signal : {SIGKILL, SIGSTOP}) {
        hasEnded = false;
        gone = 0;
        ASSERT_OK(m_camera.Connect(kSerialNumber));
        ZevrinConfig config;
        config.grabTimeout = kTimeoutInfinite;
        ASSERT_OK(m_camera.SetConfiguration(&config));
        ASSERT_OK(m_camera.SetImageSize(kSide, kSide));
        ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
        Image kept;
        ASSERT_OK(m_camera.RetrieveBuffer(&kept));
        const unsigned int generation = GetGeneration();
        m_pFakeCamera->Signal(signal);
        const auto lost = steady_clock::now();
        unsigned int value = 0;
        std::thread retrieving([&] {
            Image image;
            ExpectLost("waiting retrieval", [&] { return m_camera.GetStream().RetrieveBuffer(&image); });
            hasEnded = true;
        });
        std::thread viewing([&] {
            ExpectLost("read of a feature",
                       [&, size = 0U]() mutable { return m_camera.GetStream().ReadRegister(0x300C, &size); });
        });
        ExpectLost("write of a register",
                   [&] { return m_camera.GetStream().WriteRegisterBlock(0, kTestAddress, &value, 1); });
        retrieving.join();
        viewing.join();
        EXPECT_TRUE(Await([&] { return GetGeneration() > generation; }));
        EXPECT_LT(steady_clock::now() - lost, kLossTakes);
        EXPECT_TRUE(Await([&] { return gone == 1; }));
        // From here on nothing is tried on the camera.
        EXPECT_EQ(m_camera.ReadMemory(kWidthAddress, &value).GetType(), ERR_INVALID_GENERATION);
        EXPECT_EQ(m_camera.WriteRegister(kTransmission, 0).GetType(), ERR_INVALID_GENERATION);
        EXPECT_EQ(m_camera.GetStream().ReadRegister(kTransmission, &value).GetType(), ERR_CAMERA_LOST);
        ASSERT_OK(m_camera.Disconnect());
        EXPECT_EQ(m_camera.Connect(kSerialNumber).GetType(), ERR_CAMERA_LOST);
        EXPECT_EQ(kept.GetDataSize(), kSide * kSide);
        EXPECT_TRUE(HasTestPicture(kept)) << "an image outlives its camera";

        if (signal == SIGSTOP) {
            // It acquires all the while. Where Aravis' fake camera takes up a destination before a new stream
            // tells its port, it keeps to none: no image would come, so none is waited for.
            m_pFakeCamera->Signal(SIGCONT);
            EXPECT_TRUE(Await([&] { return m_camera.Connect(kSerialNumber) == ERR_OK; }));
            ASSERT_OK(m_camera.ReadMemory(kWidthAddress, &value));
            continue;
        }
        StartFakeCamera();
        ASSERT_OK(m_camera.Connect(kSerialNumber));
        ASSERT_OK(m_camera.SetImageSize(kSide, kSide));
        ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
        for (unsigned int frame = 0; frame < 5; ++frame) {
            ASSERT_OK(m_camera.RetrieveBuffer(&kept));
        }
        ASSERT_OK(m_camera.Disconnect());
    }
    EXPECT_TRUE(Await([&] { return come == 3; }));
}

TEST_F(GigeTest, PolicyBringsBackSettingsAndStreamOfAKilledCamera) {
    m_camera.ReconnectByItself();
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    Format7Settings region;
    region.left = 16;
    region.top = 8;
    region.width = 128;
    region.height = 64;
    ASSERT_OK(m_camera.SetFormat7(&region));
    Property exposure;
    exposure.type = SHUTTER;
    exposure.absControl = exposure.onOff = true;
    exposure.absValue = 0.02F;
    ASSERT_OK(m_camera.SetProperty(&exposure));
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    Image image;
    const auto take = [&](unsigned int gaps) {
        for (unsigned int frame = 0; frame < 10; ++frame) {
            ASSERT_OK(m_camera.WaitForBufferEvent(&image, kPatienceMs));
            EXPECT_EQ(image.GetGaps(), gaps);
            EXPECT_EQ(image.GetWidth() * image.GetHeight(), 128U * 64U);
        }
    };
    take(0);
    const unsigned int generation = GetGeneration();
    m_pFakeCamera->Signal(SIGKILL);
    ASSERT_TRUE(Await([&] { return GetGeneration() != generation; }));
    StartFakeCamera();
    ASSERT_OK(m_camera.WaitForReconnection(kPatienceMs));
    ASSERT_OK(m_camera.GetFormat7(&region));
    EXPECT_EQ(region.left, 16U);
    EXPECT_EQ(region.top, 8U);
    ASSERT_OK(m_camera.GetProperty(&exposure));
    EXPECT_NEAR(exposure.absValue, 0.02, 0.0001) << "rounded by the camera";
    take(1);
    m_camera.Quieten(&image);
    ASSERT_OK(m_camera.StopCapture());
    EXPECT_EQ(m_camera.GetSteps(),
              (std::vector<ReconnectStep>{RECONNECT_LOST, RECONNECT_CONNECTED, RECONNECT_RESTORED,
                                          RECONNECT_RESUMED, RECONNECT_DONE}));
}

TEST_F(GigeTest, NewStreamAfterALossIsNotTheFormerOnesToStop) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    ASSERT_OK(m_camera.StartCapture(nullptr, nullptr));
    const unsigned int generation = GetGeneration();
    m_pFakeCamera->Signal(SIGKILL);
    ASSERT_TRUE(Await([&] { return GetGeneration() != generation; }));
    StartFakeCamera();
    TestCamera other;
    ASSERT_TRUE(Await([&] { return other.Connect(kSerialNumber) == ERR_OK; }));
    ASSERT_OK(other.SetImageSize(kSide, kSide));
    ASSERT_OK(other.StartCapture(nullptr, nullptr));
    ASSERT_OK(m_camera.GetStream().StopCapture());
    Image image;
    for (unsigned int frame = 0; frame < 20; ++frame) {  // more than were under way
        ASSERT_OK(other.WaitForBufferEvent(&image, kPatienceMs));
    }
}

TEST_F(GigeTest, LossWithoutAStreamAndOfACameraThatIsNotOpen) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    const unsigned int generation = GetGeneration();
    m_pFakeCamera->Signal(SIGKILL);
    EXPECT_TRUE(Await([&] { return GetGeneration() != generation; }));
    ASSERT_OK(m_camera.Disconnect());
    StartFakeCamera();
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    ASSERT_OK(m_camera.Disconnect());

    // It went unseen: a connection tells.
    m_pFakeCamera->Signal(SIGKILL);
    EXPECT_EQ(m_camera.Connect(kSerialNumber).GetType(), ERR_CAMERA_LOST);
    StartFakeCamera();
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    ASSERT_OK(m_camera.Disconnect());

    // It goes missing when it is looked for.
    m_pFakeCamera->Signal(SIGKILL);
    ASSERT_OK(m_system.Rescan());
    std::vector<CameraListing> cameras;
    EXPECT_TRUE(Await([&] { return m_system.List(&cameras) == ERR_OK && cameras.empty(); }));
    EXPECT_EQ(m_camera.Connect(kSerialNumber).GetType(), ERR_CAMERA_LOST);
}

}  // namespace
}  // namespace Zevrin
