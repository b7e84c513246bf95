#include "FrameQueue.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/thread.hpp>
#include <deque>
#include <sstream>

#include "Failure.h"
#include "support/Checks.h"

namespace Zevrin {
namespace {

constexpr std::size_t kBufferSize = 16;

class FrameQueueTest : public testing::Test {
  protected:
    void Make(unsigned int count, GrabMode mode, bool deliverIncomplete = false) {
        m_pCounters = boost::make_shared<FrameCounters>();
        m_pQueue =
            boost::make_shared<FrameQueue>(count, kBufferSize, mode, deliverIncomplete, nullptr, m_pCounters);
        m_held.clear();
    }
    /// A frame with this number arrives; whether it found a buffer.
    bool Send(unsigned int id, bool isComplete = true) {
        Frame* pFrame = m_pQueue->BeginFill();
        if (pFrame == nullptr) {
            m_pQueue->CountDriverDropped(1);
            return false;
        }
        EXPECT_EQ(pFrame->info.frameId, 0U) << "nothing of the frame before";
        pFrame->info.frameId = id;
        pFrame->info.isComplete = isComplete;
        m_pQueue->EndFill(pFrame);
        return true;
    }
    Error Take() {
        Frame* pFrame = nullptr;
        const Error error = m_pQueue->Retrieve(&pFrame, 0);
        if (error == ERR_OK) {
            m_held.push_back(pFrame);
        }
        return error;
    }
    /// A frame arrives that is complete (+1) or not (~1), or that finds no buffer (!1); the frame of that
    /// number is taken (-1), or nothing waits to be taken (0); what was taken first is released (r).
    void Follow(const std::string& text) {
        std::istringstream steps(text);
        for (std::string step; steps >> step;) {
            SCOPED_TRACE(step);
            const auto id = static_cast<unsigned int>(std::atoi(step.c_str() + 1));
            if (step == "0") {
                EXPECT_EQ(Take(), ERR_TIMEOUT);
            } else if (step == "r") {
                m_pQueue->Release(m_held.front());
                m_held.pop_front();
            } else if (step[0] == '-') {
                ASSERT_EQ(Take(), ERR_OK);
                EXPECT_EQ(m_held.back()->info.frameId, id);
            } else {
                EXPECT_EQ(Send(id, step[0] != '~'), step[0] != '!');
            }
        }
    }

    boost::shared_ptr<FrameCounters> m_pCounters;
    boost::shared_ptr<FrameQueue> m_pQueue;
    std::deque<Frame*> m_held;
};

TEST_F(FrameQueueTest, GivesAndDropsAsItsModeSays) {
    const struct {
        unsigned int buffers;
        GrabMode mode;
        bool deliverIncomplete;
        const char* steps;
        unsigned int delivered, corrupt, driverDropped;
    } rows[] = {
        {3, GRAB_IN_ORDER, false, "+0 +1 +2 !3 !4 -0 -1 -2 !5 0 r +6 -6", 4, 0, 3},
        {2, GRAB_NEWEST, false, "+0 +1 +2 +3 +4 -3 -4 !5 0 r +6", 2, 0, 5},
        {2, GRAB_NEWEST, false, "~0 +1 -1 ~2 ~3", 1, 3, 0},
        {2, GRAB_NEWEST, true, "~0 +1 -0 ~2 ~3", 0, 3, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.steps);
        Make(row.buffers, row.mode, row.deliverIncomplete);
        Follow(row.steps);
        m_pQueue->Close();
        EXPECT_EQ(m_pQueue->BeginFill(), nullptr) << "closed";
        EXPECT_EQ(m_pCounters->delivered, row.delivered);
        EXPECT_EQ(m_pCounters->corrupt, row.corrupt);
        EXPECT_EQ(m_pCounters->driverDropped, row.driverDropped);
    }
    Make(1, GRAB_NEWEST);
    Follow("+0");
    EXPECT_EQ(m_pQueue->BeginFill(1), nullptr) << "the last one waiting was to be kept";
    EXPECT_NE(m_pQueue->BeginFill(), nullptr);
}

TEST_F(FrameQueueTest, WaitsEndForAReason) {
    Make(2, GRAB_IN_ORDER);
    Frame* pFrame = nullptr;
    const std::atomic<bool> cancelled{true};
    EXPECT_EQ(m_pQueue->Retrieve(&pFrame, kTimeoutInfinite, &cancelled), ERR_ISOCH_NOT_STARTED);
    const struct {
        std::function<void()> reason;
        ErrorType result;
    } rows[] = {
        {[&] { Send(1); }, ERR_OK},
        {[&] { m_pQueue->Fail(Failure(ERR_CAMERA_LOST, "gone")); }, ERR_CAMERA_LOST},
        {[&] { m_pQueue->Close(); }, ERR_ISOCH_NOT_STARTED},
    };
    for (const auto& row : rows) {
        Make(2, GRAB_IN_ORDER);
        boost::thread reason(row.reason);
        EXPECT_EQ(m_pQueue->Retrieve(&pFrame, kTimeoutInfinite), row.result);
        reason.join();
        if (row.result == ERR_CAMERA_LOST) {
            Follow("+2 -2");  // what waits is still given
            EXPECT_EQ(Take(), ERR_CAMERA_LOST) << "and the reason stays";
            m_pQueue->Close();
            EXPECT_EQ(Take(), ERR_CAMERA_LOST) << "also when that ends the stream";
        }
    }
}

TEST_F(FrameQueueTest, IsNotEndedByTheInterruptionOfAThread) {
    Make(1, GRAB_IN_ORDER);
    std::atomic<bool> isInterrupted{false};
    Error error;
    boost::thread waiter([&] {
        EXPECT_TRUE(Await([&] { return isInterrupted.load(); }));
        error = m_pQueue->Retrieve(&m_held.emplace_back(), 1);
    });
    waiter.interrupt();
    isInterrupted = true;
    waiter.join();
    EXPECT_EQ(error, ERR_TIMEOUT);
}

TEST_F(FrameQueueTest, TellsTheTransportOfEveryFreeBuffer) {
    Make(2, GRAB_IN_ORDER);
    int freed = 0;
    m_pQueue->SetFreeListener([&] { ++freed; });
    Follow("~0 +1");
    EXPECT_EQ(freed, 1);
    Follow("-1 r");
    EXPECT_EQ(freed, 2);
    m_pQueue->SetFreeListener([&] {
        m_pQueue->SetFreeListener(nullptr);
        ++freed;
    });
    m_pQueue->AbandonFill(m_pQueue->BeginFill());
    m_pQueue->AbandonFill(m_pQueue->BeginFill());
    EXPECT_EQ(freed, 3) << "it took itself away";
    EXPECT_EQ(m_pCounters->dropped + m_pCounters->driverDropped, 0U);
}

}  // namespace
}  // namespace Zevrin
