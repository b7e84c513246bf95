#include "CallThread.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>
#include <deque>
#include <utility>

namespace Zevrin {

struct CallThread::State {
    boost::mutex mutex;  // guards what follows
    boost::condition_variable changed;
    std::deque<std::function<void()>> jobs;
    unsigned long long posted = 0;
    unsigned long long done = 0;
    bool isLetGo = false;
    bool isEnding = false;
};

CallThread::CallThread()
    : m_pState(boost::make_shared<State>()), m_thread([pState = m_pState] { Serve(pState); }) {}

CallThread::~CallThread() {
    const boost::this_thread::disable_interruption notInterrupted;
    bool isLetGo = false;
    {
        boost::lock_guard<boost::mutex> lock(m_pState->mutex);
        m_pState->isEnding = true;
        m_pState->changed.notify_all();
        isLetGo = m_pState->isLetGo;
    }
    if (isLetGo || m_thread.get_id() == boost::this_thread::get_id()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

bool CallThread::Run(std::function<void()> job) {
    return Await(std::move(job), true);
}

void CallThread::RunToEnd(std::function<void()> job) {
    Await(std::move(job), false);
}

bool CallThread::Await(std::function<void()> job, bool mayLeave) {
    const boost::this_thread::disable_interruption notInterrupted;  // nothing but locks may throw
    boost::unique_lock<boost::mutex> lock(m_pState->mutex);
    m_pState->jobs.push_back(std::move(job));
    const unsigned long long number = ++m_pState->posted;
    m_pState->changed.notify_all();
    m_pState->changed.wait(lock, [&] { return m_pState->done >= number || (mayLeave && m_pState->isLetGo); });
    return m_pState->done >= number;
}

void CallThread::Post(std::function<void()> job) {
    boost::lock_guard<boost::mutex> lock(m_pState->mutex);
    m_pState->jobs.push_back(std::move(job));
    ++m_pState->posted;
    m_pState->changed.notify_all();
}

void CallThread::LetGo() {
    boost::lock_guard<boost::mutex> lock(m_pState->mutex);
    m_pState->isLetGo = true;
    m_pState->changed.notify_all();
}

void CallThread::Serve(const boost::shared_ptr<State>& pState) {
    boost::unique_lock<boost::mutex> lock(pState->mutex);
    for (;;) {
        pState->changed.wait(lock, [&] { return pState->isEnding || !pState->jobs.empty(); });
        if (pState->jobs.empty()) {
            return;
        }
        {
            const std::function<void()> job = std::move(pState->jobs.front());
            pState->jobs.pop_front();
            lock.unlock();
            job();
        }  // and what it held is gone before the lock is taken
        lock.lock();
        ++pState->done;
        pState->changed.notify_all();
    }
}

}  // namespace Zevrin
