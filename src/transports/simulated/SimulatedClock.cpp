#include "SimulatedClock.h"

#include <algorithm>
#include <boost/chrono/duration.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/thread.hpp>

#include "SimulatedBus.h"

namespace Zevrin {

using Lock = boost::lock_guard<boost::recursive_mutex>;

namespace {

// Far enough below the end of 64 bits that what is scheduled from here on does not wrap.
constexpr unsigned long long kEndOfTime = 1ULL << 62;

// A thread that sleeps wakes up late by the timer's slack and by what runs on its processor at the time.
constexpr boost::chrono::microseconds kSpin(200);

}  // namespace

SimulatedClock::SimulatedClock(bool isManual)
    : m_isManual(isManual), m_begin(boost::chrono::steady_clock::now()) {}

unsigned long long SimulatedClock::GetTime() const {
    if (m_isManual) {
        return m_manualTime;
    }
    const auto elapsed = boost::chrono::steady_clock::now() - m_begin;
    return static_cast<unsigned long long>(
        boost::chrono::duration_cast<boost::chrono::nanoseconds>(elapsed).count());
}

boost::chrono::steady_clock::time_point SimulatedClock::ToTimePoint(unsigned long long nanoseconds) const {
    return m_begin + boost::chrono::nanoseconds(nanoseconds);
}

unsigned long long SimulatedClock::Pass(unsigned long long since, unsigned long long nanoseconds) {
    if (!m_isManual) {
        WaitUntil(since + nanoseconds);
        return since + nanoseconds;
    }
    const Lock lock(m_mutex);
    since = GetTime();  // another thread may have let time pass until now
    const unsigned long long target = since + std::min(nanoseconds, kEndOfTime - since);
    while (SimulatedBus* pBus = FindFirstDue(target)) {
        pBus->RunNext(target);
    }
    MoveTo(target);
    return target;
}

void SimulatedClock::WaitUntil(unsigned long long moment) const {
    const auto deadline = ToTimePoint(moment);
    if (deadline - boost::chrono::steady_clock::now() > kSpin) {
        boost::this_thread::no_interruption_point::sleep_until(deadline - kSpin);
    }
    while (boost::chrono::steady_clock::now() < deadline) {
    }
}

SimulatedBus* SimulatedClock::FindFirstDue(unsigned long long limit) const {
    SimulatedBus* pFirst = nullptr;
    for (SimulatedBus* pBus : m_buses) {
        unsigned long long time = 0;
        if (pBus->IsDue(limit, &time)) {
            pFirst = pBus;
            if (time == 0) {
                break;
            }
            limit = time - 1;  // only an earlier one can still be first
        }
    }
    return pFirst;
}

void SimulatedClock::MoveTo(unsigned long long nanoseconds) {
    m_manualTime = std::max(GetTime(), nanoseconds);
}

void SimulatedClock::Add(SimulatedBus* pBus) {
    const Lock lock(m_mutex);
    m_buses.push_back(pBus);
}

void SimulatedClock::Remove(SimulatedBus* pBus) {
    const Lock lock(m_mutex);
    m_buses.erase(std::remove(m_buses.begin(), m_buses.end(), pBus), m_buses.end());
}

}  // namespace Zevrin
