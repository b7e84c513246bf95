// How the images of a stream reach the application: on its own thread or on one that calls back.

#include <algorithm>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_guard.hpp>
#include <iterator>
#include <limits>
#include <new>
#include <utility>

#include "CallbackThread.h"
#include "CycleTime.h"
#include "Failure.h"
#include "FrameQueue.h"
#include "Image.h"
#include "Iso.h"
#include "Registers.h"

namespace Zevrin {
namespace {

constexpr unsigned int kEmbeddedTimeStampBit = 1;

unsigned int ReadQuadlet(const unsigned char* bytes) {
    return static_cast<unsigned int>(bytes[0]) << 24 | static_cast<unsigned int>(bytes[1]) << 16 |
           static_cast<unsigned int>(bytes[2]) << 8 | static_cast<unsigned int>(bytes[3]);
}

}  // namespace

boost::shared_ptr<FrameQueue> Iso::GetQueue() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_pQueue;
}

Error Iso::RetrieveBuffer(Image* pImage) {
    return Retrieve(pImage, m_defaultTimeoutMs);
}

Error Iso::WaitForBufferEvent(Image* pImage, unsigned int timeoutMs) {
    return Retrieve(pImage, static_cast<int>(std::min(
                                timeoutMs, static_cast<unsigned int>(std::numeric_limits<int>::max()))));
}

Error Iso::Retrieve(Image* pImage, int timeoutMs) {
    if (pImage == nullptr) {
        return Failure(ERR_INVALID_PARAMETER,
                       "An image can only be retrieved into an image: the pointer is null.");
    }
    const Error released = pImage->ReleaseBuffer();
    static_cast<void>(released);
    const boost::shared_ptr<FrameQueue> pQueue = GetQueue();
    if (!pQueue) {
        return Failure(ERR_ISOCH_NOT_STARTED, "No stream of this camera has been started.");
    }
    return RetrieveFrom(pQueue, pImage, timeoutMs, nullptr);
}

Error Iso::RetrieveFrom(const boost::shared_ptr<FrameQueue>& pQueue, Image* pImage, int timeoutMs,
                        const std::atomic<bool>* pCancelled) {
    // First, so that waiting for an image while this one holds the last buffer can end.
    Error error = pImage->ReleaseBuffer();
    Frame* pFrame = nullptr;
    error = pQueue->Retrieve(&pFrame, timeoutMs, pCancelled);
    if (error == ERR_OK) {
        ReadEmbeddedInfo(pFrame);
        pImage->Hold(pQueue, pFrame);
    }
    return error;
}

Error Iso::CacheEmbeddedImageInfo(unsigned int registerValue) {
    m_embeddedInfo = registerValue;
    return Error();
}

/// A camera without that register stamps nothing into its pixels.
void Iso::LearnEmbeddedInfo() {
    unsigned int items = 0;
    m_embeddedInfo = ReadRegister(Register::kEmbeddedInfo, &items) == ERR_OK ? items : 0;
}

void Iso::ReadEmbeddedInfo(Frame* pFrame) const {
    if (!pFrame->info.hasTimeStamp && (m_embeddedInfo & kEmbeddedTimeStampBit) != 0 &&
        pFrame->info.receivedSize >= sizeof(unsigned int)) {
        SetCycleTime(ReadQuadlet(pFrame->data), &pFrame->info.timeStamp);
    }
}

Error Iso::StartCallbackThread(const Receiver& receiver) {
    try {
        // Room now for a thread that will stop itself, and for one that has ended by itself.
        m_endedCallbackThreads.reserve(m_endedCallbackThreads.size() + 2);
        if (m_pCallbackThread != nullptr) {
            m_endedCallbackThreads.push_back(std::move(m_pCallbackThread));
        }
        m_pCallbackThread =
            std::make_unique<CallbackThread>(*this, m_pQueue, receiver.callback, receiver.pData);
    } catch (const boost::thread_resource_error&) {
        return Failure(ERR_ISOCH_START_FAILED, "The system refuses a thread for the image callback.");
    } catch (const std::bad_alloc&) {
        return Failure(ERR_OUT_OF_MEMORY, "There is no memory for the image callback's thread.");
    }
    return Error();
}

/// Joins outside the lock, since the callback that is waited for may be calling this component. A thread
/// that stops itself is kept and joined later.
void Iso::StopCallbackThread() {
    std::unique_ptr<CallbackThread> pThread;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        pThread = std::move(m_pCallbackThread);
    }
    if (pThread != nullptr) {
        pThread->Stop();
        if (pThread->IsCurrent()) {
            boost::lock_guard<boost::mutex> lock(m_mutex);
            m_endedCallbackThreads.push_back(std::move(pThread));
        }
    }
}

void Iso::ReapCallbackThreads() {
    std::vector<std::unique_ptr<CallbackThread>> ended;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        const auto others = std::partition(m_endedCallbackThreads.begin(), m_endedCallbackThreads.end(),
                                           [](const auto& pThread) { return pThread->IsCurrent(); });
        std::move(others, m_endedCallbackThreads.end(), std::back_inserter(ended));
        m_endedCallbackThreads.erase(others, m_endedCallbackThreads.end());
    }
}

}  // namespace Zevrin
