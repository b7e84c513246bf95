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

/// Counts up from any thread; others wait for it.
class Counter {
  public:
    void Add() { ++m_count; }
    bool WaitFor(int count) const {
        return Await([&] { return m_count >= count; });
    }
    int Get() const { return m_count; }

  private:
    std::atomic<int> m_count{0};
};

class IsoTest : public testing::Test {
  protected:
    IsoTest() { m_pIso->SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U); }

    Error Start(ImageCallback callback = nullptr, const void* pData = nullptr) {
        return m_pIso->StartCapture(m_config, callback, pData);
    }
    bool IsTransmitting() const { return m_pHardware->Register(Register::kTransmission) == kTransmissionOn; }

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
    for (unsigned int value = 1; value <= 3; ++value) {
        m_pHardware->SendFrame(value << 24);
    }
    Image released;
    Image reused;
    {
        Image destroyed;
        for (Image* pImage : {&released, &reused, &destroyed}) {
            ASSERT_EQ(m_pIso->RetrieveBuffer(pImage), ERR_OK);
            EXPECT_GE(pImage->GetData(), memory);
            EXPECT_LT(pImage->GetData(), memory + sizeof memory);
        }
        EXPECT_EQ(destroyed.GetData()[0], 3);
        m_pHardware->SendFrame();
        EXPECT_EQ(m_pIso->GetNumOfImageDriverDropped(), 1U) << "all three are held";
        EXPECT_EQ(released.ReleaseBuffer(), ERR_OK);
        EXPECT_FALSE(released.HasData());
        EXPECT_EQ(released.GetData(), nullptr);
    }
    EXPECT_EQ(m_pIso->WaitForBufferEvent(&reused, 0), ERR_TIMEOUT);
    EXPECT_FALSE(reused.HasData()) << "released before the wait";
    for (unsigned int value = 5; value <= 7; ++value) {
        m_pHardware->SendFrame(value << 24);
    }
    EXPECT_EQ(m_pIso->GetNumOfImageDriverDropped(), 1U);
    EXPECT_EQ(m_pIso->RetrieveBuffer(&reused), ERR_OK);
    EXPECT_EQ(reused.GetData()[0], 5);
}

TEST_F(IsoTest, ImagesOutliveStreamAndComponent) {
    ASSERT_EQ(Start(), ERR_OK);
    m_pHardware->SendFrame(0x2A000000U);
    Image image;
    ASSERT_EQ(m_pIso->RetrieveBuffer(&image), ERR_OK);
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    m_pIso.reset();
    m_pHardware.reset();
    EXPECT_EQ(image.GetData()[0], 0x2A);
    Image moved = std::move(image);
    EXPECT_EQ(moved.GetWidth(), 4U);
    EXPECT_EQ(moved.GetDataSize(), 8U);
}

TEST_F(IsoTest, StreamMayBeginWithoutTransmission) {
    std::vector<unsigned int> written;
    m_pHardware->m_onWrite = [&](unsigned int low, unsigned int value) {
        EXPECT_EQ(low, 0xF0F00000U + Register::kTransmission);
        written.push_back(value);
        return value;
    };
    ASSERT_EQ(m_pIso->StartCapture(m_config, nullptr, nullptr, {2, false}), ERR_OK);
    EXPECT_EQ(written, std::vector<unsigned int>{0}) << "not even for a moment";
    m_pHardware->m_onWrite = nullptr;  // the stream ends after this test's own variables
    m_pHardware->SendFrame();
    Image image;
    ASSERT_EQ(m_pIso->RetrieveBuffer(&image), ERR_OK);
    EXPECT_EQ(image.GetGaps(), 2U);
}

TEST_F(IsoTest, RefusesSettingsAndBuffersThatCannotBe) {
    ZevrinConfig mistakes[4];
    mistakes[0].numBuffers = 0;
    mistakes[1].numBuffers = 4097;
    mistakes[2].grabTimeout = -3;
    mistakes[3].grabMode = static_cast<GrabMode>(2);
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

TEST_F(IsoTest, LeavesTheStreamThatReplacedItsOwnAlone) {
    ASSERT_EQ(Start(), ERR_OK);
    Iso other;  // starts on the camera that was lost and came back
    other.SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U);
    ASSERT_EQ(other.StartCapture(m_config, nullptr, nullptr), ERR_OK);
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    EXPECT_TRUE(m_pHardware->IsStreaming());
    EXPECT_TRUE(IsTransmitting());
}

TEST_F(IsoTest, AccountsForFramesOfAStartThatFails) {
    m_pHardware->m_beforeWrite = [this] { m_pHardware->SendFrame(); };
    m_pHardware->FailNext("Write", Failure(ERR_TIMEOUT, "no answer"));
    EXPECT_EQ(Start(), ERR_ISOCH_START_FAILED);
    EXPECT_FALSE(IsTransmitting()) << "a write without an answer may have taken effect";
    EXPECT_GE(m_pHardware->m_sent, 1U);
    EXPECT_EQ(m_pIso->GetNumOfImageDriverDropped(), m_pHardware->m_sent);
}

TEST_F(IsoTest, StoppingEndsAWait) {
    m_config.grabTimeout = kTimeoutInfinite;
    ASSERT_EQ(Start(), ERR_OK);
    Counter waiting;
    Error error;
    boost::thread waiter([&] {
        Image image;
        waiting.Add();
        error = m_pIso->RetrieveBuffer(&image);
    });
    EXPECT_TRUE(waiting.WaitFor(1));
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    waiter.join();
    EXPECT_EQ(error, ERR_ISOCH_NOT_STARTED);
}

TEST_F(IsoTest, TakesTheTimeStampFromThePixelsOnlyWhenTheCameraPutsItThere) {
    ASSERT_EQ(Start(), ERR_OK);
    const unsigned int stamp = 3U << 25 | 70U << 12 | 5U;
    Image image;
    m_pHardware->SendFrame(stamp);
    ASSERT_EQ(m_pIso->RetrieveBuffer(&image), ERR_OK);
    EXPECT_EQ(image.GetTimeStamp().cycleSeconds, 0U);
    EXPECT_GT(image.GetTimeStamp().seconds, 0);
    EXPECT_EQ(m_pIso->CacheEmbeddedImageInfo(0x800003FFU), ERR_OK);
    m_pHardware->SendFrame(stamp);
    ASSERT_EQ(m_pIso->RetrieveBuffer(&image), ERR_OK);
    EXPECT_EQ(image.GetTimeStamp().cycleSeconds, 3U);

    // A start asks the camera, whatever an earlier stream or camera had.
    for (const unsigned int isOn : {0U, 1U}) {
        EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
        EXPECT_EQ(m_pIso->WriteRegister(Register::kEmbeddedInfo, isOn, false), ERR_OK);
        ASSERT_EQ(Start(), ERR_OK);
        m_pHardware->SendFrame(stamp);
        ASSERT_EQ(m_pIso->RetrieveBuffer(&image), ERR_OK);
        EXPECT_EQ(image.GetTimeStamp().cycleSeconds, 3 * isOn);
    }
}

TEST_F(IsoTest, CountsAndResets) {
    m_config.numBuffers = 1;
    ASSERT_EQ(Start(), ERR_OK);
    m_pHardware->SendFrame(0, false);
    m_pHardware->SendFrame();
    m_pHardware->SendFrame();
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    EXPECT_EQ(m_pIso->GetNumOfImageCorrupt(), 1U);
    EXPECT_EQ(m_pIso->GetNumOfImageDriverDropped(), 2U) << "no buffer, and never claimed";
    m_pIso->ResetNumOfImageCorrupt();
    m_pIso->ResetNumOfImageDriverDropped();
    EXPECT_EQ(m_pIso->GetNumOfImageCorrupt() + m_pIso->GetNumOfImageDriverDropped(), 0U);

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
            auto* const pSelf = static_cast<Callee*>(const_cast<void*>(pData));
            if (pSelf->action) {
                pSelf->action();
            }
            pSelf->called.Add();
        }
        Counter called;
        std::function<void()> action;
    };
    Error Install(Callee& callee) { return m_pIso->SetCallback(&Callee::Call, &callee); }
    Error StartCalling(Callee& callee) { return Start(&Callee::Call, &callee); }

    Callee m_first;
    Callee m_other;
};

TEST_F(IsoCallbackTest, CanBeInstalledReplacedAndTakenAway) {
    EXPECT_EQ(Install(m_first), ERR_OK);
    ASSERT_EQ(Start(), ERR_OK);
    m_pHardware->SendFrame();
    EXPECT_TRUE(m_first.called.WaitFor(1));
    EXPECT_EQ(Install(m_other), ERR_OK);
    m_pHardware->SendFrame();
    EXPECT_TRUE(m_other.called.WaitFor(1));
    EXPECT_EQ(m_pIso->SetCallback(nullptr, nullptr), ERR_OK);
    m_pHardware->SendFrame();
    Image image;
    EXPECT_EQ(m_pIso->RetrieveBuffer(&image), ERR_OK) << "images are retrieved again";
    EXPECT_EQ(Install(m_other), ERR_OK);
    m_pHardware->SendFrame();
    EXPECT_TRUE(m_other.called.WaitFor(2));
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    ASSERT_EQ(Start(), ERR_OK);
    m_pHardware->SendFrame();
    EXPECT_TRUE(m_first.called.WaitFor(2)) << "what was installed before a start stays";
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    EXPECT_EQ(m_pIso->SetCallback(nullptr, nullptr), ERR_OK);
    for (const bool isFirst : {true, false}) {
        ASSERT_EQ(Start(), ERR_OK);
        m_pHardware->SendFrame();
        EXPECT_EQ(m_pIso->RetrieveBuffer(&image), ERR_OK) << "what a running stream got ends with it";
        EXPECT_EQ(isFirst ? Install(m_first) : Error(), ERR_OK);
        EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    }
    EXPECT_EQ(m_other.called.Get(), 2);
}

TEST_F(IsoCallbackTest, StopsAndRestartsItsOwnStream) {
    m_first.action = [this] {
        EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
        EXPECT_EQ(StartCalling(m_other), ERR_OK);
    };
    ASSERT_EQ(StartCalling(m_first), ERR_OK);
    m_pHardware->SendFrame();
    EXPECT_TRUE(m_first.called.WaitFor(1));
    m_pHardware->SendFrame();
    EXPECT_TRUE(m_other.called.WaitFor(1));
    EXPECT_EQ(m_first.called.Get(), 1);
    m_pIso.reset();  // waits for both threads
    EXPECT_FALSE(m_pHardware->IsStreaming());
}

TEST_F(IsoCallbackTest, DestructionWaitsForACallbackThatStopsItsStream) {
    for (int round = 0; round < 20; ++round) {
        Counter inside;
        std::atomic<bool> returned{false};
        m_first.action = [&] {
            inside.Add();
            Error error = m_pIso->StopCapture();
            error = m_pIso->StartCapture(m_config, nullptr, nullptr);
            EXPECT_TRUE(error == ERR_OK || error == ERR_NOT_CONNECTED) << error.GetDescription();
            returned = true;
        };
        ASSERT_EQ(StartCalling(m_first), ERR_OK);
        m_pHardware->SendFrame();
        EXPECT_TRUE(inside.WaitFor(1));
        Iso* const pIso = m_pIso.get();
        pIso->StopForGood();
        EXPECT_TRUE(returned);
        EXPECT_FALSE(m_pHardware->IsStreaming());
        EXPECT_FALSE(pIso->IsGrabStarted());
    }
    m_pIso.reset();
}

TEST_F(IsoCallbackTest, ABrokenStreamTakesNoNewCallbackSilently) {
    ASSERT_EQ(StartCalling(m_first), ERR_OK);
    m_pHardware->BreakStream(Failure(ERR_CAMERA_LOST, "gone"));
    Image image;
    EXPECT_EQ(m_pIso->RetrieveBuffer(&image), ERR_CAMERA_LOST);
    EXPECT_EQ(Install(m_other), ERR_OK);
    EXPECT_EQ(m_pIso->StopCapture(), ERR_OK);
    EXPECT_EQ(m_first.called.Get() + m_other.called.Get(), 0);
}

TEST_F(IsoCallbackTest, TwoStopsAtOnceDoNotWaitForEachOther) {
    Counter inside;
    m_first.action = [&] {
        inside.Add();
        const Error error = m_pIso->StopCapture();
        EXPECT_TRUE(error == ERR_OK || error == ERR_ISOCH_NOT_STARTED);
    };
    for (int round = 0; round < 50; ++round) {
        ASSERT_EQ(StartCalling(m_first), ERR_OK);
        m_pHardware->SendFrame();
        EXPECT_TRUE(inside.WaitFor(round + 1));
        const Error error = m_pIso->StopCapture();
        EXPECT_TRUE(error == ERR_OK || error == ERR_ISOCH_NOT_STARTED);
        EXPECT_TRUE(m_first.called.WaitFor(round + 1));
        while (m_pIso->StopCapture() == ERR_OK || m_pHardware->IsStreaming()) {
            boost::this_thread::yield();
        }
    }
}

}  // namespace
}  // namespace Zevrin
