#include "BusMaster.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "Failure.h"
#include "FakeHardware.h"
#include "GenerationTable.h"
#include "support/Checks.h"

namespace Zevrin {
namespace {

using Generations = std::vector<unsigned int>;

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

    std::size_t List() {
        std::vector<CameraIdentity> cameras;
        EXPECT_EQ(m_pMaster->GetCameras(&cameras), ERR_OK);
        return cameras.size();
    }
    Error Find(unsigned int serialNumber) {
        return m_pMaster->GetHwInterfaceFromSerialNumber(serialNumber, &m_pHandle);
    }
    Error Acquire(unsigned int serialNumber) {
        boost::shared_ptr<HardwareInterface> pHandle;
        return m_pMaster->AcquireHardware(serialNumber, &pHandle);
    }
    Generations Get() const {
        return {m_pMaster->GetGeneration(1), m_pMaster->GetGeneration(2), m_pMaster->GetGeneration(3)};
    }

    HardwareInterface* m_pHandle = nullptr;
    FakeTransport* m_pNear = nullptr;
    FakeTransport* m_pFar = nullptr;
    std::unique_ptr<BusMaster> m_pMaster;
    boost::shared_ptr<FakeHardware> m_pOne = boost::make_shared<FakeHardware>(1);
    boost::shared_ptr<FakeHardware> m_pTwo = boost::make_shared<FakeHardware>(2);
    boost::shared_ptr<FakeHardware> m_pThree = boost::make_shared<FakeHardware>(3);
};

TEST_F(BusMasterTest, LooksForCamerasOnDemandAndRemembers) {
    EXPECT_EQ(Get(), (Generations{0, 0, 0}));
    EXPECT_EQ(m_pNear->m_discoveries, 0) << "nothing was asked yet";
    EXPECT_EQ(Acquire(2), ERR_OK);
    EXPECT_EQ(m_pFar->m_discoveries, 0) << "a near camera does not wait for a far transport";
    EXPECT_EQ(Find(3), ERR_OK);
    EXPECT_EQ(m_pHandle, m_pThree.get());
    EXPECT_EQ(List(), 3U);
    EXPECT_EQ(Find(9), ERR_CAMERA_NOT_FOUND);
    EXPECT_EQ(m_pFar->m_discoveries, 1);
    EXPECT_EQ(Acquire(9), ERR_CAMERA_NOT_FOUND);
    EXPECT_EQ(m_pFar->m_discoveries, 2) << "it might have come meanwhile";
    EXPECT_EQ(m_pMaster->GetHwInterfaceFromSerialNumber(3, nullptr), ERR_INVALID_PARAMETER);
    EXPECT_EQ(m_pMaster->Rescan(), ERR_OK);
    EXPECT_EQ(m_pFar->m_discoveries, 3);
    EXPECT_EQ(Get(), (Generations{1, 1, 1})) << "still the same";
}

TEST_F(BusMasterTest, GenerationsRiseByOneForEachResetLossAndReturn) {
    EXPECT_EQ(List(), 3U);
    m_pNear->m_pListener->OnBusReset({m_pOne, m_pTwo});
    EXPECT_EQ(Get(), (Generations{2, 2, 1}));
    m_pNear->m_pListener->OnCameraLost(m_pOne);
    m_pNear->m_pListener->OnCameraLost(m_pOne);
    EXPECT_EQ(Get(), (Generations{3, 2, 1}));
    EXPECT_EQ(List(), 2U);
    m_pNear->m_pListener->OnCameraArrived(m_pOne);
    m_pNear->m_pListener->OnCameraArrived(m_pOne);
    EXPECT_EQ(Get(), (Generations{4, 2, 1}));
}

TEST_F(BusMasterTest, ACameraThatIsNotListedAnyMoreOrGoesMeanwhileHasGone) {
    m_pNear->m_failure = Failure(ERR_TRANSPORT_FAILED, "half a list");
    EXPECT_EQ(List(), 3U) << "the others are not hidden";
    EXPECT_EQ(Acquire(9), ERR_TRANSPORT_FAILED) << "it could be there";
    m_pNear->m_cameras = {m_pTwo};
    EXPECT_EQ(m_pMaster->Rescan(), ERR_TRANSPORT_FAILED);
    EXPECT_EQ(Get(), (Generations{1, 1, 1})) << "a failed look proves nothing";
    m_pNear->m_failure = Error();
    EXPECT_EQ(m_pMaster->Rescan(), ERR_OK);
    EXPECT_EQ(Get(), (Generations{2, 1, 1})) << "the third is another transport's";
    m_pNear->m_onDiscover = [this] {
        m_pNear->m_pListener->OnCameraLost(m_pTwo);
        m_pNear->m_pListener->OnCameraArrived(m_pOne);
    };
    EXPECT_EQ(m_pMaster->Rescan(), ERR_OK);
    EXPECT_EQ(Get(), (Generations{3, 2, 1})) << "what was listed is older than what was told";
    EXPECT_EQ(Find(2), ERR_CAMERA_LOST);
}

TEST_F(BusMasterTest, TheSecondCameraOfOneSerialNumberIsLeftOutUntilTheFirstHasGone) {
    const auto pDouble = boost::make_shared<FakeHardware>(1);
    m_pFar->m_cameras.push_back(pDouble);
    EXPECT_EQ(m_pMaster->Rescan(), ERR_OK);
    EXPECT_EQ(Find(1), ERR_OK);
    EXPECT_EQ(m_pHandle, m_pOne.get());
    EXPECT_EQ(m_pMaster->GetDuplicates().size(), 1U);
    m_pFar->m_pListener->OnCameraLost(pDouble);
    EXPECT_EQ(Get(), (Generations{1, 1, 1})) << "not the one that holds the number";
    m_pFar->m_pListener->OnCameraArrived(pDouble);
    EXPECT_EQ(m_pMaster->GetDuplicates().size(), 1U);
    m_pNear->m_pListener->OnCameraLost(m_pOne);
    m_pFar->m_pListener->OnCameraArrived(pDouble);
    EXPECT_EQ(Find(1), ERR_OK);
    EXPECT_EQ(m_pHandle, pDouble.get());
    EXPECT_TRUE(m_pMaster->GetDuplicates().empty());
    EXPECT_EQ(Get(), (Generations{3, 1, 1}));
}

TEST_F(BusMasterTest, TellsOfEveryChangeAndMayBeAskedMeanwhile) {
    std::atomic<std::size_t> count{0};
    std::vector<std::string> seen;
    m_pMaster->SetChangeListener(this, [&](const CameraIdentity& identity, bool isPresent) {
        EXPECT_EQ(List(), identity.serialNumber == 2 && !isPresent ? 2U : 3U);
        EXPECT_EQ(Acquire(9), ERR_CAMERA_NOT_FOUND);
        seen.push_back((isPresent ? "+" : "-") + std::to_string(identity.serialNumber));
        count = seen.size();
    });
    EXPECT_EQ(Acquire(1), ERR_OK) << "the rest is found from within the listener";
    m_pNear->m_cameras = {m_pOne};
    m_pNear->m_pListener->OnCameraLost(m_pTwo);
    EXPECT_TRUE(Await([&] { return count == 4; })) << "losses are told on another thread";
    m_pNear->m_cameras = {m_pOne, m_pTwo};
    m_pNear->m_pListener->OnCameraArrived(m_pTwo);
    EXPECT_TRUE(Await([&] { return count == 5; }));
    m_pMaster->SetChangeListener(this, nullptr);
    m_pNear->m_pListener->OnCameraLost(m_pTwo);
    EXPECT_EQ(seen, (std::vector<std::string>{"+1", "+2", "+3", "-2", "+2"}));
}

TEST_F(BusMasterTest, OneLookAnswersAllWhoWaitForIt) {
    constexpr int kThreads = 12;
    std::atomic<int> asking{0};
    m_pFar->m_onDiscover = [&] {
        EXPECT_TRUE(Await([&] { return asking == kThreads; }));
        for (int turn = 0; turn < 100; ++turn) {
            boost::this_thread::yield();  // so that most of them do wait
        }
    };
    // How many are quick enough to wait is for the machine to say: one round may prove nothing.
    int looks = kThreads;
    for (int round = 0; round < 100 && looks == kThreads; ++round) {
        looks = -m_pFar->m_discoveries;
        asking = 0;
        boost::thread_group threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.create_thread([&] {
                ++asking;
                EXPECT_EQ(Acquire(9), ERR_CAMERA_NOT_FOUND);
            });
        }
        threads.join_all();
        looks += m_pFar->m_discoveries;
    }
    EXPECT_LT(looks, kThreads);
}

TEST(GenerationTableTest, KeepsEveryCameraWhileItGrowsUnderReaders) {
    GenerationTable table;
    std::atomic<unsigned int> written{0};
    std::atomic<bool> failed{false};
    boost::thread reader([&] {
        for (unsigned int known = 0; known < 5000; known = written) {
            for (unsigned int index = 0; index < known; index += 97) {
                failed = failed || table.Get(index * 64) != 1;
            }
        }
    });
    while (written < 5000) {
        table.Raise(written * 64);
        ++written;
    }
    reader.join();
    EXPECT_FALSE(failed);
    EXPECT_EQ(table.Get(65), 0U);
}

}  // namespace
}  // namespace Zevrin
