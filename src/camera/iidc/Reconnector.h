#pragma once

#include <boost/chrono/system_clocks.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <functional>

#include "zevrin/Error.h"
#include "zevrin/Reconnection.h"

namespace Zevrin {

/// Watches over one camera object's connection on a thread of its own, and makes it again as the policy says.
/// Threads: any, but for starting and stopping, which the camera object does one at a time.
class Reconnector {
  public:
    /// What it does with the camera object, on its thread.
    struct Actions {
        std::function<bool()> isStale;
        /// Ends the stream, which comes back with a try that succeeds.
        std::function<void()> suspend;
        using Tell = std::function<void(ReconnectStep, unsigned int count, const Error&)>;
        std::function<Error(ReconnectSettings, const Tell&)> tryAgain;
    };

    explicit Reconnector(Actions actions);
    ~Reconnector() { Stop(); }
    Reconnector(const Reconnector&) = delete;
    Reconnector& operator=(const Reconnector&) = delete;

    /// While it is stopped.
    /// Errors: ERR_VALUE_OUT_OF_RANGE.
    Error SetPolicy(const ReconnectPolicy& policy);
    ReconnectPolicy GetPolicy() const;

    /// Does nothing without a policy.
    /// Errors: ERR_FAILED (the system refuses a thread).
    Error Start(unsigned int serialNumber);

    /// Waits for a try that is under way. Not from within a report.
    void Stop();

    bool IsRunning() const { return m_thread.joinable(); }
    /// Whether the caller runs within a report. Threads: any, at any time.
    bool IsCurrent() const;

    /// Waits until the connection holds.
    /// Errors: ERR_TIMEOUT, ERR_CAMERA_LOST (it was given up, or there is no policy).
    Error Wait(unsigned int timeoutMs);

  private:
    using Clock = boost::chrono::steady_clock;

    void Run();
    void Recover();
    bool Pause(Clock::duration duration);
    void Tell(ReconnectStep step, unsigned int count, const Error& error) const;

    const Actions m_actions;

    // The thread's own while it runs.
    unsigned int m_serialNumber = 0;
    unsigned int m_tries = 0;
    Clock::time_point m_lostAt;

    mutable boost::mutex m_mutex;  // guards what follows; never held while an action or a callback runs
    boost::condition_variable m_changed;
    ReconnectPolicy m_policy;  // changes only while no thread runs
    bool m_isStopping = false;
    bool m_isRecovering = false;
    bool m_hasGivenUp = false;

    boost::thread m_thread;
};

}  // namespace Zevrin
