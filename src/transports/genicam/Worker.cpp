#include "Worker.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <utility>

namespace Zevrin {

void Worker::Start() {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (!m_thread.joinable() && !m_stopping) {
        m_thread = boost::thread([this] { Run(); });
    }
}

void Worker::Post(std::function<void()> job) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (!m_stopping) {
        m_jobs.push_back(std::move(job));
        m_changed.notify_all();
    }
}

void Worker::Stop() {
    const boost::this_thread::disable_interruption notInterrupted;
    boost::thread thread;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_stopping = true;
        m_changed.notify_all();
        thread = std::move(m_thread);
    }
    if (thread.joinable()) {
        thread.join();
    }
}

void Worker::Run() {
    boost::unique_lock<boost::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_stopping || !m_jobs.empty(); });
        if (m_jobs.empty()) {
            return;
        }
        {
            const std::function<void()> job = std::move(m_jobs.front());
            m_jobs.pop_front();
            lock.unlock();
            job();
        }  // and what it held is gone before the lock is taken
        lock.lock();
    }
}

}  // namespace Zevrin
