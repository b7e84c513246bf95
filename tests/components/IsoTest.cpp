#include "Iso.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "Failure.h"
#include "FakeHardware.h"
#include "Image.h"
#include "Registers.h"
#include "support/Checks.h"

namespace Zevrin {
namespace {

class IsoTest : public testing::Test {
  protected:
    IsoTest() { m_pIso->SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U); }

    Error Start(ImageCallback callback = nullptr, const void* pData = nullptr) {
        return m_pIso->StartCapture(m_config, callback, pData);
    }
    /// Frames whose first bytes count from `first` to `last`.
    void Send(unsigned int first, unsigned int last) {
        for (unsigned int value = first; value <= last; ++value) {
            m_pHardware->SendFrame(value << 24);
        }
    }

    boost::shared_ptr<FakeHardware> m_pHardware = boost::make_shared<FakeHardware>();
    std::unique_ptr<Iso> m_pIso = std::make_unique<Iso>();
    ZevrinConfig m_config;
};

TEST_F(IsoTest, GivesTheBufferItselfAndTakesItBackThreeWays) {
    m_config.numBuffers = 3;
    unsigned char memory[5 * 8] = {};  // two more than the stream is to have
    EXPECT_EQ(m_pIso->SetUserBuffers(memory, 8, 5), ERR_OK);
    ASSERT_EQ(Start(), ERR_OK);
    EXPECT_EQ(m_pIso->SetUserBuffers(nullptr, 0, 0), ERR_ISOCH_ALREADY_STARTED);
    Send(1, 3);
    Image released;
    Image reused;
    {
        Image destroyed;
        for (Image* pImage : {&released, &reused, &destroyed}) {
            ASSERT_EQ(m_pIso->RetrieveBuffer(pImage), ERR_OK);
            EXPECT_TRUE(pImage->GetData() >= memory && pImage->GetData() < memory + sizeof memory);
        }
        EXPECT_EQ(destroyed.GetData()[0], 3);
        Send(4, 4);
        EXPECT_EQ(m_pIso->GetNumOfImageDriverDropped(), 1U) << "all three are held";
        EXPECT_EQ(released.ReleaseBuffer(), ERR_OK);
        EXPECT_EQ(released.GetData(), nullptr);
    }
    EXPECT_EQ(m_pIso->WaitForBufferEvent(&reused, 0), ERR_TIMEOUT);
    EXPECT_FALSE(reused.HasData()) << "released before the wait";
    Send(5, 7);
    EXPECT_EQ(m_pIso->GetNumOfImageDriverDropped(), 1U);
    EXPECT_EQ(m_pIso->RetrieveBuffer(&reused), ERR_OK);
    EXPECT_EQ(reused.GetData()[0], 5);
}

TEST_F(IsoTest, RefusesSettingsAndBuffersThatCannotBe) {
    ZevrinConfig mistakes[3];
    mistakes[0].numBuffers = 4097;
    mistakes[1].grabTimeout = -3;
    mistakes[2].grabMode = static_cast<GrabMode>(2);
    for (const ZevrinConfig& mistake : mistakes) {
        EXPECT_EQ(m_pIso->StartCapture(mistake, nullptr, nullptr), ERR_VALUE_OUT_OF_RANGE);
    }
    unsigned char memory[16];
    EXPECT_EQ(m_pIso->SetUserBuffers(memory, 0, 2), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(m_pIso->SetUserBuffers(memory, 8, -1), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(m_pIso->SetUserBuffers(memory, 7, 2), ERR_OK);
    EXPECT_EQ(Start(), ERR_ISOCH_BUFFERS_FAILED) << "an image takes 8 bytes";
    EXPECT_EQ(m_pIso->SetUserBuffers(nullptr, 0, 0), ERR_OK);
    for (const std::size_t size : {std::size_t{0}, std::size_t{1} << 40}) {
        m_pHardware->m_format.payloadSize = size;
        EXPECT_EQ(Start(), ERR_ISOCH_BUFFERS_FAILED) << "a size that is not believed";
    }
    EXPECT_EQ(m_pIso->RetrieveBuffer(nullptr), ERR_INVALID_PARAMETER);
    Image image;
    EXPECT_EQ(m_pIso->RetrieveBuffer(&image), ERR_ISOCH_NOT_STARTED);
}

TEST_F(IsoTest, StreamMayBeginWithoutTransmissionAndLeavesTheOneThatReplacesItAlone) {
    std::vector<unsigned int> written;
    m_pHardware->m_onWrite = [&](unsigned int, unsigned int value) {
        return written.push_back(value), value;
    };
    ASSERT_EQ(m_pIso->StartCapture(m_config, nullptr, nullptr, {2, false}), ERR_OK);
    m_pHardware->m_onWrite = nullptr;
    EXPECT_EQ(written, std::vector<unsigned int>{0}) << "not even for a moment";
    Iso other;  // starts on the camera that was lost and came back
    other.SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U);
    ASSERT_EQ(other.StartCapture(m_config, nullptr, nullptr), ERR_OK);
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    EXPECT_TRUE(m_pHardware->IsStreaming());
    EXPECT_EQ(m_pHardware->Register(Register::kTransmission), kTransmissionOn);
}

TEST_F(IsoTest, InterruptedStreamTellsWhyUntilTheNextStart) {
    Image image;
    for (const bool isLost : {true, false}) {
        ASSERT_EQ(Start(), ERR_OK);
        const unsigned int delivered = m_pIso->GetNumOfImageDelivered();
        boost::thread waiting([&] {
            Error error;
            while ((error = m_pIso->WaitForBufferEvent(&image, 60000)) == ERR_OK) {
            }
            EXPECT_EQ(error, isLost ? ERR_CAMERA_LOST : ERR_ISOCH_NOT_STARTED);
        });
        Send(1, 1);
        EXPECT_TRUE(Await([&] { return m_pIso->GetNumOfImageDelivered() > delivered; }));
        if (isLost) {
            EXPECT_TRUE(m_pIso->StopForGood(Failure(ERR_CAMERA_LOST, "gone")));
        } else {
            EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
        }
        waiting.join();  // whether it was waiting already or came later
    }
    EXPECT_FALSE(m_pIso->StopForGood());
}

TEST_F(IsoTest, AccountsForFramesOfAStartThatFails) {
    m_pHardware->m_before = [this](const std::string& access) {
        m_pHardware->SendFrame();
        return access == "Write" && m_pHardware->m_sent == 2 ? Failure(ERR_TIMEOUT, "no answer") : Error();
    };
    EXPECT_EQ(Start(), ERR_ISOCH_START_FAILED);
    EXPECT_FALSE(m_pHardware->IsStreaming());
    EXPECT_EQ(m_pHardware->m_memory.count(FakeHardware::KeyOf(Register::kTransmission)), 1U)
        << "switched off: a write without an answer may have taken effect";
    EXPECT_EQ(m_pHardware->Register(Register::kTransmission), 0U);
    EXPECT_EQ(m_pIso->GetNumOfImageDriverDropped(), 3U);
}

TEST_F(IsoTest, TakesTheTimeStampFromThePixelsOnlyWhenTheCameraPutsItThere) {
    for (const bool isTold : {false, true, false}) {
        ASSERT_EQ(Start(), ERR_OK);  // asks the camera, whatever an earlier stream had
        EXPECT_EQ(isTold ? m_pIso->CacheEmbeddedImageInfo(0x800003FFU) : Error(), ERR_OK);
        m_pHardware->SendFrame(3U << 25 | 70U << 12 | 5U);
        Image image;
        EXPECT_EQ(m_pIso->RetrieveBuffer(&image), ERR_OK);
        EXPECT_GT(image.GetTimeStamp().seconds, 0);
        EXPECT_EQ(image.GetTimeStamp().cycleSeconds, isTold ? 3U : 0U);
        EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    }
}

TEST_F(IsoTest, CountsAndResets) {
    ASSERT_EQ(Start(), ERR_OK);
    m_pHardware->GetQueue()->CountDropped(3);
    m_pHardware->SendFrame({}, {});
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    EXPECT_EQ(m_pIso->GetNumOfImageDropped(), 3U);
    EXPECT_EQ(m_pIso->GetNumOfImageDriverDropped(), 1U) << "never claimed";
    m_pIso->ResetNumOfImageDropped();
    m_pIso->ResetNumOfImageDriverDropped();
    EXPECT_EQ(m_pIso->GetNumOfImageDropped() + m_pIso->GetNumOfImageDriverDropped(), 0U);

    m_pHardware->m_counters = {100, 50};  // of others, before
    ASSERT_EQ(Start(), ERR_OK);
    m_pHardware->m_counters = {112, 57};
    EXPECT_EQ(m_pIso->GetNumResendPacketsRequested(), 12U);
    EXPECT_EQ(m_pIso->ResetNumResendPacketsRequested(), ERR_OK);
    m_pHardware->m_counters = {115, 58};
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    m_pHardware->m_counters = {200, 200};  // of others
    EXPECT_EQ(m_pIso->GetNumResendPacketsRequested(), 3U);
    EXPECT_EQ(m_pIso->GetNumResendPacketsReceived(), 8U);
}

class IsoCallbackTest : public IsoTest {
  protected:
    /// Who is called back.
    struct Callee {
        static void Call(Image* pImage, const void* pData) {
            EXPECT_TRUE(pImage->HasData());
            ++static_cast<Callee*>(const_cast<void*>(pData))->called;
        }
        std::atomic<int> called{0};
    };
    Error Install(Callee& callee) { return m_pIso->SetCallback(&Callee::Call, &callee); }

    /// Sends a frame, which brings this one's calls to `count`.
    bool Calls(const Callee& callee, int count) {
        m_pHardware->SendFrame();
        return Await([&] { return callee.called >= count; });
    }
    bool IsRetrieved() {
        m_pHardware->SendFrame();
        Image image;
        return m_pIso->RetrieveBuffer(&image) == ERR_OK;
    }

    Callee m_first;
    Callee m_other;
};

TEST_F(IsoCallbackTest, CanBeInstalledReplacedAndTakenAway) {
    EXPECT_EQ(Install(m_first), ERR_OK);
    ASSERT_EQ(Start(), ERR_OK);
    EXPECT_TRUE(Calls(m_first, 1));
    EXPECT_EQ(Install(m_other), ERR_OK);
    EXPECT_TRUE(Calls(m_other, 1));
    EXPECT_EQ(m_pIso->SetCallback(nullptr, nullptr), ERR_OK);
    EXPECT_TRUE(IsRetrieved());
    EXPECT_EQ(Install(m_other), ERR_OK);
    EXPECT_TRUE(Calls(m_other, 2));
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    ASSERT_EQ(Start(), ERR_OK);
    EXPECT_TRUE(Calls(m_first, 2)) << "what was installed before a start stays";
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    EXPECT_EQ(m_pIso->SetCallback(nullptr, nullptr), ERR_OK);
    for (const bool isFirst : {true, false}) {
        ASSERT_EQ(Start(), ERR_OK);
        EXPECT_TRUE(IsRetrieved()) << "what a running stream got ends with it";
        EXPECT_EQ(isFirst ? Install(m_first) : Error(), ERR_OK);
        EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    }
    EXPECT_EQ(m_other.called, 2);
}

}  // namespace
}  // namespace Zevrin
