#include "FrameQueue.h"

#include <gtest/gtest.h>

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/thread.hpp>
#include <random>
#include <vector>

#include "Failure.h"

namespace Zevrin {
namespace {

constexpr std::size_t kBufferSize = 16;

class FrameQueueTest : public testing::Test {
  protected:
    void Make(unsigned int count, GrabMode mode, bool deliverIncomplete = false) {
        m_pQueue =
            boost::make_shared<FrameQueue>(count, kBufferSize, mode, deliverIncomplete, nullptr, m_pCounters);
    }
    /// A frame with this number arrives; whether it found a buffer.
    bool Send(unsigned int id, bool isComplete = true) {
        Frame* pFrame = m_pQueue->BeginFill();
        if (pFrame == nullptr) {
            m_pQueue->CountDriverDropped(1);
            return false;
        }
        pFrame->info = FrameInfo();
        pFrame->info.frameId = id;
        pFrame->info.isComplete = isComplete;
        m_pQueue->EndFill(pFrame);
        return true;
    }
    Frame* Take() {
        Frame* pFrame = nullptr;
        EXPECT_EQ(m_pQueue->Retrieve(&pFrame, 0), ERR_OK);
        return pFrame;
    }
    unsigned int Sum() const {
        return m_pCounters->delivered + m_pCounters->corrupt + m_pCounters->dropped +
               m_pCounters->driverDropped;
    }

    boost::shared_ptr<FrameCounters> m_pCounters = boost::make_shared<FrameCounters>();
    boost::shared_ptr<FrameQueue> m_pQueue;
};

TEST_F(FrameQueueTest, InOrderGivesTheOldestAndDropsTheNewest) {
    Make(3, GRAB_IN_ORDER);
    for (unsigned int id = 0; id < 5; ++id) {
        EXPECT_EQ(Send(id), id < 3);
    }
    for (unsigned int id = 0; id < 3; ++id) {
        EXPECT_EQ(Take()->info.frameId, id);
    }
    EXPECT_FALSE(Send(5)) << "all buffers are held: nothing stale can wait";
    Frame* pFrame = nullptr;
    EXPECT_EQ(m_pQueue->Retrieve(&pFrame, 0), ERR_TIMEOUT);
    m_pQueue->Release(m_pQueue->GetBuffer(1));
    EXPECT_TRUE(Send(6));
    EXPECT_EQ(Take()->info.frameId, 6U);
    EXPECT_EQ(m_pCounters->driverDropped, 3U);
    EXPECT_EQ(m_pCounters->delivered, 4U);
}

TEST_F(FrameQueueTest, NewestMakesRoomByTheOldestWaiting) {
    Make(2, GRAB_NEWEST);
    for (unsigned int id = 0; id < 5; ++id) {
        EXPECT_TRUE(Send(id));
    }
    EXPECT_EQ(Take()->info.frameId, 3U);
    EXPECT_EQ(Take()->info.frameId, 4U);
    EXPECT_EQ(m_pCounters->driverDropped, 3U);
    EXPECT_FALSE(Send(5)) << "both are held";
    m_pQueue->Release(m_pQueue->GetBuffer(0));
    EXPECT_TRUE(Send(6));
    EXPECT_EQ(m_pQueue->BeginFill(1), nullptr) << "the last one waiting was to be kept";
    EXPECT_NE(m_pQueue->BeginFill(), nullptr);
    EXPECT_EQ(Sum(), 7U);
}

TEST_F(FrameQueueTest, IncompleteFramesAreCorruptWhetherDeliveredOrNot) {
    for (const bool deliver : {false, true}) {
        SCOPED_TRACE(deliver);
        m_pCounters = boost::make_shared<FrameCounters>();
        Make(2, GRAB_NEWEST, deliver);
        Send(0, false);
        Send(1);
        EXPECT_EQ(Take()->info.isComplete, !deliver);
        Send(2, false);
        Send(3, false);  // makes room by 1 or 2
        m_pQueue->Close();
        EXPECT_EQ(m_pCounters->corrupt, 3U);
        EXPECT_EQ(Sum(), 4U);
    }
}

TEST_F(FrameQueueTest, EveryFrameIsAccountedForWhateverHappens) {
    for (const GrabMode mode : {GRAB_IN_ORDER, GRAB_NEWEST}) {
        m_pCounters = boost::make_shared<FrameCounters>();
        Make(4, mode);
        std::mt19937 random(17);
        std::vector<Frame*> held;
        unsigned int sent = 0;
        for (int step = 0; step < 10000; ++step) {
            const unsigned int what = random() % 4;
            Frame* pFrame = nullptr;
            if (what < 2) {
                Send(sent++, random() % 8 != 0);
            } else if (what == 2 && m_pQueue->Retrieve(&pFrame, 0) == ERR_OK) {
                held.push_back(pFrame);
            } else if (what == 3 && !held.empty()) {
                m_pQueue->Release(held.back());
                held.pop_back();
            }
        }
        m_pQueue->Close();
        EXPECT_EQ(Sum(), sent);
        EXPECT_GT(m_pCounters->driverDropped, 0U);
        EXPECT_EQ(m_pQueue->BeginFill(), nullptr) << "closed";
    }
}

TEST_F(FrameQueueTest, WaitsEndForAReason) {
    Make(2, GRAB_IN_ORDER);
    Frame* pFrame = nullptr;
    std::atomic<bool> cancelled{true};
    EXPECT_EQ(m_pQueue->Retrieve(&pFrame, kTimeoutInfinite, &cancelled), ERR_ISOCH_NOT_STARTED);

    boost::thread sender([this] { Send(1); });
    EXPECT_EQ(m_pQueue->Retrieve(&pFrame, kTimeoutInfinite), ERR_OK);
    sender.join();

    boost::thread breaker([this] { m_pQueue->Fail(Failure(ERR_CAMERA_LOST, "gone")); });
    EXPECT_EQ(m_pQueue->Retrieve(&pFrame, kTimeoutInfinite), ERR_CAMERA_LOST);
    breaker.join();
    Send(2);
    EXPECT_EQ(Take()->info.frameId, 2U) << "what waits is still given";
    EXPECT_EQ(m_pQueue->Retrieve(&pFrame, kTimeoutInfinite), ERR_CAMERA_LOST) << "and the reason stays";

    Make(2, GRAB_IN_ORDER);
    boost::thread closer([this] { m_pQueue->Close(); });
    EXPECT_EQ(m_pQueue->Retrieve(&pFrame, kTimeoutInfinite), ERR_ISOCH_NOT_STARTED);
    closer.join();
}

TEST_F(FrameQueueTest, IsNotEndedByTheInterruptionOfAThread) {
    Make(1, GRAB_IN_ORDER);
    Error error;
    boost::thread waiter([&] {
        Frame* pFrame = nullptr;
        error = m_pQueue->Retrieve(&pFrame, kTimeoutInfinite);
    });
    waiter.interrupt();
    Send(1);
    waiter.join();
    EXPECT_EQ(error, ERR_OK);
}

TEST_F(FrameQueueTest, BelievesNoSizeBeyondTheBufferAndRemembersNothingOfTheFrameBefore) {
    Make(1, GRAB_IN_ORDER);
    Frame* pFrame = m_pQueue->BeginFill();
    pFrame->info.receivedSize = kBufferSize + 1;
    pFrame->info.hasTimeStamp = true;
    m_pQueue->EndFill(pFrame);
    EXPECT_EQ(Take()->info.receivedSize, kBufferSize);
    m_pQueue->Release(pFrame);
    EXPECT_FALSE(m_pQueue->BeginFill()->info.hasTimeStamp);
}

TEST_F(FrameQueueTest, TellsTheTransportOfEveryFreeBuffer) {
    Make(2, GRAB_IN_ORDER);
    int freed = 0;
    m_pQueue->SetFreeListener([&] { ++freed; });
    Send(0, false);
    Send(1);
    EXPECT_EQ(freed, 1);
    m_pQueue->Release(Take());
    EXPECT_EQ(freed, 2);
    m_pQueue->AbandonFill(m_pQueue->BeginFill());
    EXPECT_EQ(freed, 3);
    EXPECT_EQ(Sum(), 2U);
    m_pQueue->SetFreeListener([&] {
        m_pQueue->SetFreeListener(nullptr);
        ++freed;
    });
    m_pQueue->AbandonFill(m_pQueue->BeginFill());
    m_pQueue->AbandonFill(m_pQueue->BeginFill());
    EXPECT_EQ(freed, 4) << "it took itself away";
}

}  // namespace
}  // namespace Zevrin
