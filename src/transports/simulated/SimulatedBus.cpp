#include "SimulatedBus.h"

#include <boost/chrono/system_clocks.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <utility>

#include "SimulatedDevice.h"

namespace Zevrin {

SimulatedBus::SimulatedBus(const BusDescription& description, unsigned int number,
                           boost::shared_ptr<SimulatedClock> pClock)
    : m_pClock(std::move(pClock)) {
    unsigned int node = 0;
    for (const CameraDescription& camera : description.cameras) {
        m_devices.push_back(std::make_unique<SimulatedDevice>(*this, camera, number, node++));
    }
    if (m_pClock->IsManual()) {
        m_pClock->Add(this);
    } else {
        m_thread = boost::thread([this] { Run(); });
    }
}

SimulatedBus::~SimulatedBus() {
    Stop();
}

void SimulatedBus::Stop() {
    const boost::this_thread::disable_interruption notInterrupted;
    m_pClock->Remove(this);
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_isStopping = true;
        m_changed.notify_all();
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void SimulatedBus::Schedule(BusEvent event) {
    event.sequence = m_nextSequence++;
    const bool isFirst = m_events.empty() || event.time < m_events.top().time;
    m_events.push(std::move(event));
    if (isFirst) {
        m_changed.notify_all();
    }
}

BusEvent SimulatedBus::TakeFirst() {
    BusEvent event = m_events.top();
    m_events.pop();
    return event;
}

bool SimulatedBus::IsDue(unsigned long long limit, unsigned long long* pTime) const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (m_events.empty() || m_events.top().time > limit) {
        return false;
    }
    *pTime = m_events.top().time;
    return true;
}

void SimulatedBus::RunNext(unsigned long long limit) {
    BusEvent event;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (m_events.empty() || m_events.top().time > limit) {
            return;
        }
        event = TakeFirst();
        m_pClock->MoveTo(event.time);
    }
    event.pDevice->OnEvent(event);
}

void SimulatedBus::Run() {
    boost::unique_lock<boost::mutex> lock(m_mutex);
    while (!m_isStopping) {
        if (m_events.empty()) {
            m_changed.wait(lock);
            continue;
        }
        const auto due = m_pClock->ToTimePoint(m_events.top().time);
        if (boost::chrono::steady_clock::now() < due) {
            m_changed.wait_until(lock, due);
            continue;
        }
        const BusEvent event = TakeFirst();
        lock.unlock();
        event.pDevice->OnEvent(event);
        lock.lock();
    }
}

}  // namespace Zevrin
