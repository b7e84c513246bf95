#include "IidcCamera.h"

#include <boost/smart_ptr/make_shared.hpp>

#include "BusMaster.h"
#include "Image.h"
#include "Registers.h"
#include "Singleton.h"
#include "components/FakeHardware.h"
#include "support/Checks.h"
#include "zevrin/CameraSystem.h"

namespace Zevrin {

static std::vector<boost::shared_ptr<HardwareInterface>> g_cameras;
static FakeTransport* g_pTransport = nullptr;

/// In place of the transports of this build: one whose cameras the test makes.
std::vector<std::unique_ptr<Transport>> CreateTransports() {
    std::vector<std::unique_ptr<Transport>> transports;
    auto pTransport = std::make_unique<FakeTransport>();
    pTransport->m_cameras = g_cameras;
    g_pTransport = pTransport.get();
    transports.push_back(std::move(pTransport));
    return transports;
}

namespace {

class IidcCameraTest : public testing::Test {
  protected:
    IidcCameraTest() {
        m_pHardware->m_identity.modelName = "Model %s\n";
        g_cameras = {m_pHardware, boost::make_shared<FakeHardware>(43)};
        m_pSystem = std::make_unique<CameraSystem>();
    }
    ~IidcCameraTest() override {
        m_pCamera.reset();
        m_pSystem.reset();
        EXPECT_EQ(Singleton<BusMaster>::m_iRefCount, 0);
    }
    void Connect() { ASSERT_EQ(m_pSystem->Connect(42, &m_pCamera), ERR_OK); }
    static TopologyListener& Bus() { return *g_pTransport->m_pListener; }

    boost::shared_ptr<FakeHardware> m_pHardware = boost::make_shared<FakeHardware>(42);
    std::unique_ptr<CameraSystem> m_pSystem;
    boost::shared_ptr<IidcCamera> m_pCamera;
};

TEST_F(IidcCameraTest, IsListedConnectedAndGivenUp) {
    std::vector<CameraListing> cameras;
    ASSERT_EQ(m_pSystem->List(&cameras), ERR_OK);
    ASSERT_EQ(cameras.size(), 2U);
    EXPECT_EQ(cameras[0].modelName, "Model \\x25s\\x0a");
    EXPECT_EQ(m_pSystem->Connect(44, &m_pCamera), ERR_CAMERA_NOT_FOUND);
    EXPECT_EQ(m_pSystem->Connect(42, nullptr), ERR_INVALID_PARAMETER);

    Connect();
    EXPECT_EQ(m_pHardware->m_openCount, 1);
    EXPECT_EQ(m_pCamera->WriteRegister(0x614, 5), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x614), 5U);
    CameraInfo info;
    EXPECT_EQ(m_pCamera->GetCameraInfo(&info), ERR_OK);
    EXPECT_EQ(info.serialNumber, 42U);
    EXPECT_EQ(m_pCamera->Connect(43), ERR_ALREADY_CONNECTED);
    EXPECT_EQ(m_pCamera->CheckValidity(), ERR_OK) << "the refusal changes nothing";

    EXPECT_EQ(m_pCamera->Disconnect(), ERR_OK);
    EXPECT_EQ(m_pHardware->m_openCount, 0);
    EXPECT_EQ(m_pCamera->Disconnect(), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_pCamera->WriteRegister(0x614, 5), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_pCamera->Connect(43), ERR_OK) << "the object can serve another camera";
}

TEST_F(IidcCameraTest, GoesStaleByAResetAndConnectsAgain) {
    Connect();
    ZevrinConfig config;
    config.numBuffers = 3;
    EXPECT_EQ(m_pCamera->SetConfiguration(&config), ERR_OK);
    ASSERT_EQ(m_pCamera->StartCapture(nullptr, nullptr), ERR_OK);
    Bus().OnBusReset(g_cameras);
    Image image;
    EXPECT_EQ(m_pCamera->RetrieveBuffer(&image), ERR_INVALID_GENERATION);
    EXPECT_EQ(m_pCamera->StopCapture(), ERR_INVALID_GENERATION);
    EXPECT_TRUE(m_pHardware->IsStreaming());

    EXPECT_EQ(m_pCamera->Connect(42), ERR_OK);
    EXPECT_FALSE(m_pHardware->IsStreaming()) << "the stale stream was stopped";
    EXPECT_EQ(m_pHardware->m_openCount, 1);
    EXPECT_EQ(m_pCamera->GetConfiguration(&config), ERR_OK);
    EXPECT_EQ(config.numBuffers, 3U);
    EXPECT_EQ(m_pCamera->CheckValidity(), ERR_OK);

    Bus().OnCameraLost(m_pHardware);
    g_pTransport->m_cameras.clear();
    EXPECT_EQ(m_pCamera->Connect(42), ERR_CAMERA_LOST);
    EXPECT_FALSE(m_pCamera->IsConnected());
    g_pTransport->m_cameras = g_cameras;
    EXPECT_EQ(m_pCamera->Connect(42), ERR_OK) << "it was looked for again";
}

TEST_F(IidcCameraTest, StreamsAsConfigured) {
    Connect();
    ZevrinConfig config;
    config.numBuffers = 0;
    EXPECT_EQ(m_pCamera->SetConfiguration(&config), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(m_pCamera->SetConfiguration(nullptr), ERR_INVALID_PARAMETER);
    EXPECT_EQ(m_pCamera->GetConfiguration(nullptr), ERR_INVALID_PARAMETER);
    config.numBuffers = 2;
    config.grabTimeout = 0;
    EXPECT_EQ(m_pCamera->SetConfiguration(&config), ERR_OK);
    ASSERT_EQ(m_pCamera->StartCapture(nullptr, nullptr), ERR_OK);
    EXPECT_EQ(m_pCamera->StartCapture(nullptr, nullptr), ERR_ISOCH_ALREADY_STARTED);
    EXPECT_EQ(m_pCamera->SetConfiguration(&config), ERR_OK) << "what the stream has already";
    ZevrinConfig other = config;
    other.grabMode = GRAB_NEWEST;
    EXPECT_EQ(m_pCamera->SetConfiguration(&other), ERR_ISOCH_ALREADY_STARTED);
    for (int frame = 0; frame < 3; ++frame) {
        m_pHardware->SendFrame();
    }
    Image images[3];
    EXPECT_EQ(m_pCamera->RetrieveBuffer(&images[0]), ERR_OK);
    EXPECT_EQ(m_pCamera->RetrieveBuffer(&images[1]), ERR_OK);
    EXPECT_EQ(m_pCamera->RetrieveBuffer(&images[2]), ERR_TIMEOUT);
    CameraStats stats;
    EXPECT_EQ(m_pCamera->GetStats(&stats), ERR_OK);
    EXPECT_EQ(stats.numImagesDriverDropped, 1U);
    m_pCamera.reset();
    EXPECT_FALSE(m_pHardware->IsStreaming());
    EXPECT_EQ(m_pHardware->m_openCount, 0);
    EXPECT_TRUE(images[0].HasData());
}

TEST_F(IidcCameraTest, GivingUpWaitsForTheCallbackWhichMayStillUseTheObject) {
    Connect();
    struct Shared {
        IidcCamera* pCamera;
        std::atomic<bool> isInside{false};
        std::atomic<bool> isDone{false};
    } shared{m_pCamera.get(), {}, {}};
    const auto callback = [](Image*, const void* pData) {
        auto& data = *static_cast<Shared*>(const_cast<void*>(pData));
        data.isInside = true;
        Error error = data.pCamera->StopCapture();
        BayerTileFormat format = BAYER_NONE;
        error = data.pCamera->GetBayerFormat(&format);
        error = data.pCamera->StartCapture(nullptr, nullptr);
        static_cast<void>(error);  // whichever wins
        data.isDone = true;
    };
    ASSERT_EQ(m_pCamera->StartCapture(callback, &shared), ERR_OK);
    m_pHardware->SendFrame();
    ASSERT_TRUE(Await([&] { return shared.isInside.load(); }));
    m_pCamera.reset();
    EXPECT_TRUE(shared.isDone);
    EXPECT_FALSE(m_pHardware->IsStreaming());
}

}  // namespace
}  // namespace Zevrin
