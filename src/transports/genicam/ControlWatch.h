#pragma once

#include <atomic>
#include <boost/thread/thread.hpp>
#include <functional>
#include <string>

#include "ControlProbe.h"
#include "FileHandle.h"

namespace Zevrin {

/// Watches over a GigE Vision device on a thread of its own, since Aravis' heartbeat takes several seconds to
/// notice a silent one.
///
/// The device is asked every 150 ms and taken for lost when five questions in a row had no answer: within
/// 0.9 s. Register traffic is left alone: the questions go over another socket. Only for a device that has
/// answered a `ControlProbe`; one that answers nobody else while it is controlled, as some do, is left to the
/// heartbeat then.
class ControlWatch {
  public:
    /// @param onSilent  called once, on the thread of the watch, which it may not end
    /// Throws boost::thread_resource_error, also when the system refuses a handle.
    ControlWatch(const std::string& address, std::function<void()> onSilent);
    ~ControlWatch();
    /// Whether its silence counts; it does in any case when it has answered.
    void Expect(bool answers) { m_isExpectedToAnswer = answers; }

    ControlWatch(const ControlWatch&) = delete;
    ControlWatch& operator=(const ControlWatch&) = delete;

  private:
    void Run();
    bool IsToEnd() const;

    ControlProbe m_probe;
    const std::function<void()> m_onSilent;
    std::atomic<bool> m_isExpectedToAnswer{true};
    const FileHandle m_end;  // can be read from when the thread is to end
    boost::thread m_thread;
};

}  // namespace Zevrin
