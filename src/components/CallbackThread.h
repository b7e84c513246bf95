#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include "zevrin/Callbacks.h"

namespace Zevrin {

class FrameQueue;
class Iso;

/// The one thread on which a stream calls its callback, image by image.
class CallbackThread {
  public:
    /// Throws boost::thread_resource_error.
    CallbackThread(Iso& iso, boost::shared_ptr<FrameQueue> pQueue, ImageCallback callback, const void* pData);

    /// Waits for a running callback, so it is not called from within one.
    ~CallbackThread();
    CallbackThread(const CallbackThread&) = delete;
    CallbackThread& operator=(const CallbackThread&) = delete;

    /// The next image goes to this callback.
    void Replace(ImageCallback callback, const void* pData);

    /// No callback begins after this. Waits for a running one, unless called from within it.
    void Stop();

    bool IsCurrent() const { return boost::this_thread::get_id() == m_thread.get_id(); }

    /// Whether no further image will be given to the callback: the stream has ended or is broken.
    bool IsFinished() const { return m_finished; }

    /// Whether the caller runs within a callback of this component.
    static bool IsWithinCallbackOf(const Iso& iso);

  private:
    void Run();

    Iso& m_iso;
    const boost::shared_ptr<FrameQueue> m_pQueue;
    boost::mutex m_callbackMutex;  // guards the two that follow
    ImageCallback m_callback;
    const void* m_pData;
    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_finished{false};
    boost::thread m_thread;
};

}  // namespace Zevrin
