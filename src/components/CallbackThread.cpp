#include "CallbackThread.h"

#include <boost/thread/lock_guard.hpp>
#include <utility>

#include "FrameQueue.h"
#include "Image.h"
#include "Iso.h"
#include "Log.h"

namespace Zevrin {

namespace {

thread_local const Iso* t_pIso = nullptr;  // whose callbacks this thread makes

}  // namespace

bool CallbackThread::IsWithinCallbackOf(const Iso& iso) {
    return t_pIso == &iso;
}

CallbackThread::CallbackThread(Iso& iso, boost::shared_ptr<FrameQueue> pQueue, ImageCallback callback,
                               const void* pData)
    : m_iso(iso), m_pQueue(std::move(pQueue)), m_callback(callback), m_pData(pData) {
    m_thread = boost::thread([this] { Run(); });
}

CallbackThread::~CallbackThread() {
    Stop();
}

void CallbackThread::Replace(ImageCallback callback, const void* pData) {
    boost::lock_guard<boost::mutex> lock(m_callbackMutex);
    m_callback = callback;
    m_pData = pData;
}

void CallbackThread::Stop() {
    m_cancelled = true;
    m_pQueue->WakeAll();
    if (!IsCurrent() && m_thread.joinable()) {
        const boost::this_thread::disable_interruption notInterrupted;
        m_thread.join();
    }
}

void CallbackThread::Run() {
    t_pIso = &m_iso;
    Image image;
    Error error;
    while ((error = m_iso.RetrieveFrom(m_pQueue, &image, kTimeoutInfinite, &m_cancelled)) == ERR_OK) {
        ImageCallback callback = nullptr;
        const void* pData = nullptr;
        {
            boost::lock_guard<boost::mutex> lock(m_callbackMutex);
            callback = m_callback;
            pData = m_pData;
        }
        callback(&image, pData);
        const Error released = image.ReleaseBuffer();
        static_cast<void>(released);
    }
    m_finished = true;
    Log().debug("image callbacks have ended: {}", error.GetDescription());
}

}  // namespace Zevrin
