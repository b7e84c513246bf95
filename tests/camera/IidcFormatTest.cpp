#include <gtest/gtest.h>

#include <boost/smart_ptr/make_shared.hpp>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "BusMaster.h"
#include "IidcCamera.h"
#include "Singleton.h"
#include "components/FakeHardware.h"

namespace Zevrin {

namespace {

constexpr unsigned int kSerialNumber = 42;

/// A camera object on a bus manager that knows one camera, which is a memory.
class IidcFormatTest : public testing::Test {
  protected:
    IidcFormatTest() {
        auto pTransport = std::make_unique<FakeTransport>();
        m_pTransport = pTransport.get();
        m_pTransport->m_cameras = {m_pHardware};
        std::vector<std::unique_ptr<Transport>> transports;
        transports.push_back(std::move(pTransport));
        // The library's own way would look for real cameras.
        Singleton<BusMaster>::m_pInstance = new BusMaster(std::move(transports));
        // Format 0 mode 5 with frame rate 3; mode 0 of format 7, 64 x 32 in Mono8.
        m_pHardware->SetRegister(0x100, 0x81000000U);
        m_pHardware->SetRegister(0x180, 0x04000000U);
        m_pHardware->SetRegister(0x214, 0x10000000U);
        m_pHardware->SetRegister(0x19C, 0x80000000U);
        m_pHardware->SetRegister(0x2E0, 0xF02000U / 4);
        m_pHardware->SetBase(0xF02000U, 64U << 16 | 32);
        m_pHardware->SetBase(0xF02014U, 0x80000000U);
        m_pCamera = std::make_unique<IidcCamera>();
    }
    ~IidcFormatTest() override { m_pCamera.reset(); }

    boost::shared_ptr<FakeHardware> m_pHardware = boost::make_shared<FakeHardware>(kSerialNumber);
    FakeTransport* m_pTransport = nullptr;
    std::unique_ptr<IidcCamera> m_pCamera;
};

TEST_F(IidcFormatTest, FormatsAreGuardedAndNotChangedUnderAStream) {
    VideoModeInfo modeInfo;
    modeInfo.mode = 5;
    VideoModeSetting mode{0, 5, 3, {}};
    Format7Info format7Info;
    Format7Settings format7;
    format7.width = 64;
    format7.height = 32;
    const std::function<Error()> gets[] = {
        [&] { return m_pCamera->GetVideoModeInfo(&modeInfo); },
        [&] { return m_pCamera->GetVideoMode(&mode); },
        [&] { return m_pCamera->GetFormat7Info(&format7Info); },
        [&] { return m_pCamera->GetFormat7(&format7); },
    };
    const std::function<Error()> sets[] = {
        [&] { return m_pCamera->SetVideoMode(&mode); },
        [&] { return m_pCamera->SetFormat7(&format7); },  // the last: the mode that GetFormat7 asks for
    };
    for (const auto& operation : gets) {
        EXPECT_EQ(operation(), ERR_INVALID_GENERATION) << "never connected";
    }
    for (const auto& operation : sets) {
        EXPECT_EQ(operation(), ERR_INVALID_GENERATION);
    }
    ASSERT_EQ(m_pCamera->Connect(kSerialNumber), ERR_OK);
    for (const auto& operation : sets) {
        EXPECT_EQ(operation(), ERR_OK) << operation().GetTrace();
    }
    ASSERT_EQ(m_pCamera->StartCapture(nullptr, nullptr), ERR_OK);
    for (const auto& operation : sets) {
        EXPECT_EQ(operation(), ERR_ISOCH_ALREADY_STARTED);
    }
    for (const auto& operation : gets) {
        EXPECT_EQ(operation(), ERR_OK);
    }
    EXPECT_TRUE(modeInfo.present && format7Info.present);
    EXPECT_EQ(m_pCamera->StopCapture(), ERR_OK);
    EXPECT_EQ(m_pCamera->SetVideoMode(&mode), ERR_VALUE_OUT_OF_RANGE) << "what was got is format 7";
    m_pTransport->m_pListener->OnBusReset({m_pHardware});
    EXPECT_EQ(m_pCamera->GetFormat7(&format7), ERR_INVALID_GENERATION);
}

}  // namespace

}  // namespace Zevrin
