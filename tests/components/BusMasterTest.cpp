#include "BusMaster.h"

#include <gtest/gtest.h>

#include <atomic>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "Failure.h"
#include "FakeHardware.h"
#include "GenerationTable.h"

namespace Zevrin {

namespace {

class BusMasterTest : public testing::Test {
  protected:
    BusMasterTest() {
        std::vector<std::unique_ptr<Transport>> transports;
        for (FakeTransport** ppTransport : {&m_pNear, &m_pFar}) {
            auto pTransport = std::make_unique<FakeTransport>();
            *ppTransport = pTransport.get();
            transports.push_back(std::move(pTransport));
        }
        m_pMaster = std::make_unique<BusMaster>(std::move(transports));
        m_pNear->m_cameras = {m_pOne, m_pTwo};
        m_pFar->m_cameras = {m_pThree};
    }

    FakeTransport* m_pNear = nullptr;
    FakeTransport* m_pFar = nullptr;
    std::unique_ptr<BusMaster> m_pMaster;
    boost::shared_ptr<FakeHardware> m_pOne = boost::make_shared<FakeHardware>(1);
    boost::shared_ptr<FakeHardware> m_pTwo = boost::make_shared<FakeHardware>(2);
    boost::shared_ptr<FakeHardware> m_pThree = boost::make_shared<FakeHardware>(3);
};

TEST_F(BusMasterTest, LooksForCamerasOnDemandAndRemembers) {
    EXPECT_EQ(m_pMaster->GetGeneration(1), 0U);
    EXPECT_EQ(m_pNear->m_discoveries, 0) << "nothing was asked yet";

    HardwareInterface* pHandle = nullptr;
    EXPECT_EQ(m_pMaster->GetHwInterfaceFromSerialNumber(3, &pHandle), ERR_OK);
    EXPECT_EQ(pHandle, m_pThree.get());
    EXPECT_EQ(m_pMaster->GetHwInterfaceFromSerialNumber(9, &pHandle), ERR_CAMERA_NOT_FOUND);
    EXPECT_EQ(m_pMaster->GetHwInterfaceFromSerialNumber(3, nullptr), ERR_INVALID_PARAMETER);
    std::vector<CameraIdentity> cameras;
    EXPECT_EQ(m_pMaster->GetCameras(&cameras), ERR_OK);
    EXPECT_EQ(cameras.size(), 3U);
    EXPECT_EQ(m_pNear->m_discoveries, 1);
    EXPECT_EQ(m_pFar->m_discoveries, 1);
    EXPECT_EQ(m_pMaster->GetGeneration(3), 1U);
    EXPECT_EQ(m_pMaster->Rescan(), ERR_OK);
    EXPECT_EQ(m_pMaster->GetGeneration(3), 1U) << "still the same";
}

TEST_F(BusMasterTest, ANearCameraDoesNotWaitForAFarTransport) {
    boost::shared_ptr<HardwareInterface> pHandle;
    EXPECT_EQ(m_pMaster->AcquireHardware(2, &pHandle), ERR_OK);
    EXPECT_EQ(m_pFar->m_discoveries, 0);
    std::vector<CameraIdentity> cameras;
    EXPECT_EQ(m_pMaster->GetCameras(&cameras), ERR_OK);
    EXPECT_EQ(cameras.size(), 3U) << "the far ones were still to be looked for";
    EXPECT_EQ(m_pMaster->AcquireHardware(9, &pHandle), ERR_CAMERA_NOT_FOUND);
}

TEST_F(BusMasterTest, GenerationsRiseByResetLossAndReturn) {
    std::vector<CameraIdentity> cameras;
    EXPECT_EQ(m_pMaster->GetCameras(&cameras), ERR_OK);
    m_pNear->m_pListener->OnBusReset({m_pOne, m_pTwo});
    EXPECT_EQ(m_pMaster->GetGeneration(1), 2U);
    EXPECT_EQ(m_pMaster->GetGeneration(2), 2U);
    EXPECT_EQ(m_pMaster->GetGeneration(3), 1U) << "another bus";

    m_pNear->m_pListener->OnCameraLost(m_pOne);
    m_pNear->m_pListener->OnCameraLost(m_pOne);
    EXPECT_EQ(m_pMaster->GetGeneration(1), 3U);
    HardwareInterface* pHandle = nullptr;
    EXPECT_EQ(m_pMaster->GetHwInterfaceFromSerialNumber(1, &pHandle), ERR_CAMERA_LOST);
    EXPECT_EQ(m_pMaster->GetCameras(&cameras), ERR_OK);
    EXPECT_EQ(cameras.size(), 2U);

    m_pNear->m_pListener->OnCameraArrived(m_pOne);
    m_pNear->m_pListener->OnCameraArrived(m_pOne);
    EXPECT_EQ(m_pMaster->GetGeneration(1), 4U);
    EXPECT_EQ(m_pMaster->GetHwInterfaceFromSerialNumber(1, &pHandle), ERR_OK);
    EXPECT_EQ(pHandle, m_pOne.get());
}

TEST_F(BusMasterTest, TheSecondCameraOfOneSerialNumberIsLeftOut) {
    const auto pDouble = boost::make_shared<FakeHardware>(1);
    m_pFar->m_cameras.push_back(pDouble);
    HardwareInterface* pHandle = nullptr;
    EXPECT_EQ(m_pMaster->GetHwInterfaceFromSerialNumber(1, &pHandle), ERR_OK);
    EXPECT_EQ(m_pMaster->Rescan(), ERR_OK);
    EXPECT_EQ(pHandle, m_pOne.get());
    ASSERT_EQ(m_pMaster->GetDuplicates().size(), 1U);
    m_pFar->m_pListener->OnCameraLost(pDouble);
    EXPECT_EQ(m_pMaster->GetGeneration(1), 1U) << "not the one that holds the number";
}

TEST_F(BusMasterTest, ACameraThatGoesWhileItIsBeingListedIsGone) {
    std::vector<CameraIdentity> cameras;
    EXPECT_EQ(m_pMaster->GetCameras(&cameras), ERR_OK);
    m_pNear->m_onDiscover = [this] { m_pNear->m_pListener->OnCameraLost(m_pOne); };
    EXPECT_EQ(m_pMaster->Rescan(), ERR_OK);
    EXPECT_EQ(m_pMaster->GetGeneration(1), 2U);
    HardwareInterface* pHandle = nullptr;
    EXPECT_EQ(m_pMaster->GetHwInterfaceFromSerialNumber(1, &pHandle), ERR_CAMERA_LOST);
}

TEST_F(BusMasterTest, ACameraThatIsNotListedAnyMoreHasGone) {
    std::vector<CameraIdentity> cameras;
    EXPECT_EQ(m_pMaster->GetCameras(&cameras), ERR_OK);
    m_pNear->m_cameras = {m_pTwo};
    m_pNear->m_failure = Failure(ERR_TRANSPORT_FAILED, "half a list");
    EXPECT_EQ(m_pMaster->Rescan(), ERR_TRANSPORT_FAILED);
    EXPECT_EQ(m_pMaster->GetGeneration(1), 1U) << "a failed look proves nothing";
    m_pNear->m_failure = Error();
    EXPECT_EQ(m_pMaster->Rescan(), ERR_OK);
    EXPECT_EQ(m_pMaster->GetGeneration(1), 2U);
    EXPECT_EQ(m_pMaster->GetGeneration(3), 1U) << "another transport's";
}

TEST_F(BusMasterTest, ANumberWhoseCameraHasGoneIsFreeForAnother) {
    const auto pOther = boost::make_shared<FakeHardware>(1);
    HardwareInterface* pHandle = nullptr;
    EXPECT_EQ(m_pMaster->GetHwInterfaceFromSerialNumber(1, &pHandle), ERR_OK);
    m_pFar->m_pListener->OnCameraArrived(pOther);
    EXPECT_EQ(m_pMaster->GetDuplicates().size(), 1U);
    m_pNear->m_pListener->OnCameraLost(m_pOne);
    m_pFar->m_pListener->OnCameraArrived(pOther);
    EXPECT_EQ(m_pMaster->GetHwInterfaceFromSerialNumber(1, &pHandle), ERR_OK);
    EXPECT_EQ(pHandle, pOther.get());
    EXPECT_TRUE(m_pMaster->GetDuplicates().empty());
    EXPECT_EQ(m_pMaster->GetGeneration(1), 3U);
}

TEST_F(BusMasterTest, AFailingTransportDoesNotHideTheOthers) {
    m_pNear->m_failure = Failure(ERR_TRANSPORT_FAILED, "no network");
    m_pNear->m_cameras.clear();
    std::vector<CameraIdentity> cameras;
    EXPECT_EQ(m_pMaster->GetCameras(&cameras), ERR_OK);
    EXPECT_EQ(cameras.size(), 1U);
    EXPECT_EQ(m_pMaster->Rescan(), ERR_TRANSPORT_FAILED);
    boost::shared_ptr<HardwareInterface> pHandle;
    EXPECT_EQ(m_pMaster->AcquireHardware(1, &pHandle), ERR_TRANSPORT_FAILED) << "it could be there";
}

TEST_F(BusMasterTest, TellsOfEveryChangeAndMayBeAskedMeanwhile) {
    std::vector<std::string> seen;
    m_pMaster->SetChangeListener(this, [&](const CameraIdentity& identity, bool isPresent) {
        std::vector<CameraIdentity> cameras;
        boost::shared_ptr<HardwareInterface> pHandle;
        EXPECT_EQ(m_pMaster->GetCameras(&cameras), ERR_OK);
        EXPECT_EQ(m_pMaster->AcquireHardware(9, &pHandle), ERR_CAMERA_NOT_FOUND);
        seen.push_back((isPresent ? "+" : "-") + std::to_string(identity.serialNumber));
    });
    boost::shared_ptr<HardwareInterface> pHandle;
    EXPECT_EQ(m_pMaster->AcquireHardware(1, &pHandle), ERR_OK)
        << "the rest is found from within the listener";
    m_pNear->m_cameras = {m_pOne};
    m_pNear->m_pListener->OnCameraLost(m_pTwo);
    m_pNear->m_cameras = {m_pOne, m_pTwo};
    m_pNear->m_pListener->OnCameraArrived(m_pTwo);
    m_pMaster->SetChangeListener(this, nullptr);
    m_pNear->m_pListener->OnCameraLost(m_pTwo);
    EXPECT_EQ(seen, (std::vector<std::string>{"+1", "+2", "+3", "-2", "+2"}));
}

TEST(GenerationTableTest, KeepsEveryCameraWhileItGrowsUnderReaders) {
    GenerationTable table;
    std::atomic<unsigned int> written{0};
    std::atomic<bool> failed{false};
    boost::thread reader([&] {
        while (written < 5000) {
            const unsigned int known = written;
            for (unsigned int index = 0; index < known; index += 97) {
                failed = failed || table.Get(index * 64) == 0;
            }
        }
    });
    for (unsigned int index = 0; index < 5000; ++index) {
        table.Raise(index * 64);
        written = index + 1;
    }
    reader.join();
    EXPECT_FALSE(failed);
    EXPECT_EQ(table.Get(64), 1U);
    table.Raise(64);
    EXPECT_EQ(table.Get(64), 2U);
    EXPECT_EQ(table.Get(65), 0U);
    EXPECT_EQ(table.Get(0), 1U);
}

}  // namespace

}  // namespace Zevrin
