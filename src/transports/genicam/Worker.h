#pragma once

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <deque>
#include <functional>

namespace Zevrin {

/// A thread that does one job after the other, for what may not be done on a thread of Aravis.
class Worker {
  public:
    Worker() = default;
    ~Worker() { Stop(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// The first time only. Throws boost::thread_resource_error.
    void Start();

    /// Jobs wait until the thread is started. None is taken any more after `Stop`.
    void Post(std::function<void()> job);

    /// Waits until everything posted is done. Not from within a job.
    void Stop();

  private:
    void Run();

    boost::mutex m_mutex;  // guards what follows
    boost::condition_variable m_changed;
    std::deque<std::function<void()>> m_jobs;
    bool m_stopping = false;
    boost::thread m_thread;
};

}  // namespace Zevrin
