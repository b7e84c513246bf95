#include "FrameQueue.h"

#include <algorithm>
#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/thread.hpp>
#include <cassert>
#include <utility>

#include "CycleTime.h"
#include "Failure.h"

namespace Zevrin {

FrameQueue::FrameQueue(unsigned int bufferCount, std::size_t bufferSize, GrabMode mode,
                       bool deliverIncomplete, unsigned char* memory,
                       boost::shared_ptr<FrameCounters> counters)
    : m_bufferSize(bufferSize),
      m_mode(mode),
      m_deliverIncomplete(deliverIncomplete),
      m_pCounters(std::move(counters)),
      m_frames(bufferCount),
      m_waiting(bufferCount) {
    if (memory == nullptr) {
        m_ownMemory.reset(new unsigned char[bufferCount * bufferSize]);  // left unset: frames fill it
        memory = m_ownMemory.get();
    }
    m_free.reserve(bufferCount);
    for (std::size_t index = bufferCount; index-- > 0;) {
        Frame& frame = m_frames[index];
        frame.data = memory + index * bufferSize;
        frame.capacity = bufferSize;
        frame.index = index;
        m_free.push_back(&frame);
    }
}

Frame* FrameQueue::BeginFill(std::size_t keepWaiting) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (m_closed) {
        return nullptr;
    }
    Frame* pFrame = nullptr;
    if (!m_free.empty()) {
        pFrame = m_free.back();
        m_free.pop_back();
    } else if (m_mode == GRAB_NEWEST && m_waiting.size() > keepWaiting) {
        pFrame = m_waiting.front();
        m_waiting.pop_front();
        CountUnclaimed(*pFrame);
    } else {
        return nullptr;
    }
    ++m_given;
    pFrame->info = FrameInfo();
    return pFrame;
}

void FrameQueue::EndFill(Frame* pFrame) {
    pFrame->info.receivedSize = std::min(pFrame->info.receivedSize, pFrame->capacity);
    pFrame->info.gaps = m_gaps;
    if (!pFrame->info.hasTimeStamp) {
        pFrame->info.timeStamp = GetHostTime();
    }
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        --m_given;
        ++m_arrived;
        if (!pFrame->info.isComplete) {
            ++m_pCounters->corrupt;
            ++m_settled;
        }
        if (!m_closed && (pFrame->info.isComplete || m_deliverIncomplete)) {
            m_waiting.push_back(pFrame);
            m_changed.notify_all();
            return;
        }
        CountUnclaimed(*pFrame);
        m_free.push_back(pFrame);
    }
    NotifyFree();
}

/// An incomplete frame has been counted as corrupt when it arrived.
void FrameQueue::CountUnclaimed(const Frame& frame) {
    if (frame.info.isComplete) {
        CountDriverDropped(1);
        ++m_settled;
    }
}

/// The double entry: the shared counters can be zeroed at any time, so the queue keeps its own.
void FrameQueue::CheckAccounts() const {
#ifdef ZEVRIN_CHECK_ACCOUNTS
    assert(m_settled == m_arrived);
    assert(m_free.size() + m_waiting.size() + m_given == m_frames.size());
#endif
}

void FrameQueue::AbandonFill(Frame* pFrame) {
    ReturnToFree(pFrame);
}

void FrameQueue::Release(Frame* pFrame) {
    ReturnToFree(pFrame);
}

void FrameQueue::ReturnToFree(Frame* pFrame) {
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        --m_given;
        m_free.push_back(pFrame);
    }
    NotifyFree();
}

void FrameQueue::NotifyFree() {
    boost::lock_guard<boost::recursive_mutex> lock(m_listenerMutex);
    const auto pListener = m_pFreeListener;  // it may replace itself
    if (pListener) {
        (*pListener)();
    }
}

void FrameQueue::SetFreeListener(std::function<void()> listener) {
    boost::lock_guard<boost::recursive_mutex> lock(m_listenerMutex);
    m_pFreeListener.reset();
    if (listener) {
        m_pFreeListener = boost::make_shared<const std::function<void()>>(std::move(listener));
    }
}

void FrameQueue::Fail(const Error& reason) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_failure = reason;
    m_changed.notify_all();
}

Error FrameQueue::Retrieve(Frame** ppFrame, int timeoutMs, const std::atomic<bool>* pCancelled) {
    const boost::this_thread::disable_interruption notInterrupted;  // nothing but locks may throw
    const auto deadline = boost::chrono::steady_clock::now() + boost::chrono::milliseconds(timeoutMs);
    boost::unique_lock<boost::mutex> lock(m_mutex);
    for (bool timedOut = timeoutMs == 0;;) {  // who only looks is not put to sleep
        const bool isCancelled = pCancelled != nullptr && *pCancelled;
        if (m_closed && !isCancelled && m_failure != ERR_OK) {
            return m_failure;
        }
        if (m_closed || isCancelled) {
            return Failure(ERR_ISOCH_NOT_STARTED, "The stream was stopped while an image was awaited.");
        }
        if (!m_waiting.empty()) {
            *ppFrame = m_waiting.front();
            m_waiting.pop_front();
            ++m_given;
            if ((*ppFrame)->info.isComplete) {
                ++m_pCounters->delivered;
                ++m_settled;
            }
            return Error();
        }
        if (m_failure != ERR_OK) {
            return m_failure;
        }
        if (timedOut) {
            return Failure(ERR_TIMEOUT, "No image arrived within %d ms.", timeoutMs);
        }
        if (timeoutMs == kTimeoutInfinite) {
            m_changed.wait(lock);
        } else {
            timedOut = m_changed.wait_until(lock, deadline) == boost::cv_status::timeout;
        }
    }
}

void FrameQueue::WakeAll() {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_changed.notify_all();
}

void FrameQueue::Close() {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_closed = true;
    for (Frame* pFrame : m_waiting) {
        CountUnclaimed(*pFrame);
        m_free.push_back(pFrame);
    }
    m_waiting.clear();
    CheckAccounts();
    m_changed.notify_all();
}

}  // namespace Zevrin
