#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/thread.hpp>
#include <functional>

namespace Zevrin {

/// A thread that makes calls which may hang for seconds, one after the other, for callers who need not see
/// them end.
///
/// What a job works with is the job's own, since the job may outlive its caller, and this object too: calls
/// that hang end on the thread when they can, and nobody waits for that.
class CallThread {
  public:
    /// Throws boost::thread_resource_error.
    CallThread();
    /// What was posted is still done; it is waited for, unless those who wait were let go.
    ~CallThread();
    CallThread(const CallThread&) = delete;
    CallThread& operator=(const CallThread&) = delete;

    /// Waits for the job, or until all who wait are let go. Not from within a job.
    /// @return whether the job is done
    bool Run(std::function<void()> job);

    /// Waits for the job however long it takes, so that it may work with what is its caller's.
    void RunToEnd(std::function<void()> job);

    /// Does not wait.
    void Post(std::function<void()> job);

    /// Lets go all who wait, from now on.
    void LetGo();

  private:
    struct State;
    bool Await(std::function<void()> job, bool mayLeave);
    static void Serve(const boost::shared_ptr<State>& pState);

    const boost::shared_ptr<State> m_pState;
    boost::thread m_thread;
};

}  // namespace Zevrin
