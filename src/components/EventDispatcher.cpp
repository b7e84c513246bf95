#include "EventDispatcher.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <new>
#include <utility>

#include "Log.h"

namespace Zevrin {

bool EventDispatcher::Add(const std::vector<std::string>& names, const Subscriber& subscriber) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    const auto isRegistered = [this](const std::string& name) { return m_subscribers.count(name) != 0; };
    if (std::any_of(names.begin(), names.end(), isRegistered)) {
        return false;
    }
    if (!m_thread.joinable()) {
        m_thread = boost::thread([pSelf = shared_from_this()] { pSelf->Run(); });
        m_threadId = m_thread.get_id();
    }
    for (const std::string& name : names) {
        m_subscribers[name] = subscriber;
    }
    return true;
}

bool EventDispatcher::Remove(const std::string& name) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    const auto isOfThatName = [&](const RawDeviceEvent& event) { return event.name == name; };
    m_waiting.erase(std::remove_if(m_waiting.begin(), m_waiting.end(), isOfThatName), m_waiting.end());
    return m_subscribers.erase(name) != 0;
}

std::vector<std::string> EventDispatcher::RemoveAll() {
    std::vector<std::string> names = GetNames();
    names.erase(
        std::remove_if(names.begin(), names.end(), [this](const auto& name) { return !Remove(name); }),
        names.end());
    return names;
}

bool EventDispatcher::IsCurrent() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_threadId == boost::this_thread::get_id();
}

std::vector<std::string> EventDispatcher::GetNames() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    std::vector<std::string> names;
    for (const auto& [name, subscriber] : m_subscribers) {
        names.push_back(name);
    }
    return names;
}

bool EventDispatcher::IsEmpty() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_subscribers.empty();
}

void EventDispatcher::WaitForCallback(const std::vector<std::string>& names) {
    const boost::this_thread::disable_interruption notInterrupted;
    boost::unique_lock<boost::mutex> lock(m_mutex);
    if (!m_isRunning || boost::this_thread::get_id() == m_threadId ||
        std::find(names.begin(), names.end(), m_running) == names.end()) {
        return;
    }
    const unsigned long long waitedFor = m_numBegun;
    m_changed.wait(lock, [&] { return !m_isRunning || m_numBegun != waitedFor; });
}

void EventDispatcher::Push(const RawDeviceEvent& event) {
    unsigned long long numDropped = 0;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (m_subscribers.count(event.name) == 0) {
            return;
        }
        if (m_waiting.size() >= kMaxWaiting) {
            m_waiting.pop_front();
            numDropped = ++m_numDropped;
        }
        try {
            m_waiting.push_back(event);
        } catch (const std::bad_alloc&) {
            numDropped = ++m_numDropped;
        }
    }
    m_changed.notify_all();
    if (numDropped % kMaxWaiting == 1) {
        Log().warn("Device events arrive faster than they are taken: {} were dropped so far.", numDropped);
    }
}

void EventDispatcher::Flush() {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_waiting.clear();
}

void EventDispatcher::Stop() {
    const boost::this_thread::disable_interruption notInterrupted;
    boost::thread thread;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_isStopped = true;
        thread = std::move(m_thread);
    }
    m_changed.notify_all();
    if (thread.get_id() == boost::this_thread::get_id()) {
        thread.detach();
    } else if (thread.joinable()) {
        thread.join();
    }
}

unsigned long long EventDispatcher::GetNumDropped() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_numDropped;
}

void EventDispatcher::Run() {
    boost::unique_lock<boost::mutex> lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_isStopped || !m_waiting.empty(); });
        if (m_isStopped) {
            return;
        }
        const RawDeviceEvent raw = std::move(m_waiting.front());
        m_waiting.pop_front();
        const Subscriber subscriber = m_subscribers[raw.name];  // forgotten events wait no more
        m_running = raw.name;
        m_isRunning = true;
        ++m_numBegun;
        lock.unlock();

        DeviceEvent event;
        event.name = raw.name.c_str();
        event.id = raw.id;
        event.timeStamp = raw.timeStampNs;
        event.data = raw.data.data();
        event.dataSize = static_cast<unsigned int>(raw.data.size());
        event.userData = subscriber.userData;
        subscriber.callback(&event);

        lock.lock();
        m_isRunning = false;
        m_running.clear();
        m_changed.notify_all();
    }
}

}  // namespace Zevrin
