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

    /// Reads a register on a socket of its own, as anybody may: the hand-over of an access to the device's
    /// thread, and back, can take as long as the device does. Not tried where there is no answer to be
    /// expected. Threads: one at a time.
    /// @return false when it did not succeed, whatever the reason
    bool Read(unsigned int address, unsigned int* pValue);

    /// Such a read succeeded on the controlling program's socket. There are devices that answer no other;
    /// after some in a row they are not asked any more.
    void CountMissedRead() { ++m_missedReads; }

    ControlWatch(const ControlWatch&) = delete;
    ControlWatch& operator=(const ControlWatch&) = delete;

  private:
    static constexpr unsigned int kMaxMissedReads = 3;

    void Run();
    bool IsToEnd() const;

    ControlProbe m_reader;
    unsigned int m_missedReads = 0;
    ControlProbe m_probe;
    const std::function<void()> m_onSilent;
    std::atomic<bool> m_isExpectedToAnswer{true};
    const FileHandle m_end;  // can be read from when the thread is to end
    boost::thread m_thread;
};

}  // namespace Zevrin
