#pragma once

#include <boost/smart_ptr/enable_shared_from_this.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "HardwareInterface.h"
#include "zevrin/DeviceEvent.h"

namespace Zevrin {

/// The registered events of one camera object, the events that wait to be delivered, and the one thread that
/// delivers them.
///
/// The thread shares the object, so a callback may let go of everything that leads to it.
/// Threads: any.
class EventDispatcher : public boost::enable_shared_from_this<EventDispatcher> {
  public:
    static constexpr std::size_t kMaxWaiting = 256;

    struct Subscriber {
        DeviceEventCallback callback = nullptr;
        const void* userData = nullptr;
    };

    /// False, and nothing is registered, when one of them is already. Starts the thread when it is first
    /// needed.
    /// Throws boost::thread_resource_error, and then registers nothing.
    bool Add(const std::vector<std::string>& names, const Subscriber& subscriber);

    /// False when the event is not registered. What waits for it is forgotten.
    bool Remove(const std::string& name);
    /// Gives what was registered.
    std::vector<std::string> RemoveAll();

    /// Waits for a running callback of one of these events, unless this is called from within a callback.
    void WaitForCallback(const std::vector<std::string>& names);

    /// Whether the caller runs within a callback of this object.
    bool IsCurrent() const;

    std::vector<std::string> GetNames() const;
    bool IsEmpty() const;

    /// Lets an event wait for its callback. When too many wait, the oldest makes room and is counted.
    /// Events that nobody has registered are left out.
    void Push(const RawDeviceEvent& event);

    /// Forgets what waits.
    void Flush();

    /// No callback begins after this. Waits for a running one, unless this is called from within it.
    void Stop();

    unsigned long long GetNumDropped() const;

  private:
    void Run();

    mutable boost::mutex m_mutex;  // guards what follows
    boost::condition_variable m_changed;
    std::map<std::string, Subscriber> m_subscribers;  // by event name
    std::deque<RawDeviceEvent> m_waiting;
    std::string m_running;  // name of the event whose callback runs
    bool m_isRunning = false;
    unsigned long long m_numBegun = 0;  // callbacks
    unsigned long long m_numDropped = 0;
    bool m_isStopped = false;
    boost::thread m_thread;
    boost::thread::id m_threadId;  // also once `Stop` has the thread
};

}  // namespace Zevrin
