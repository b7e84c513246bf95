#pragma once

#include <atomic>
#include <boost/chrono/system_clocks.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <vector>

namespace Zevrin {

class SimulatedBus;

/// The clock that the buses of one simulation share: the machine's own, or one that is set by hand.
///
/// A clock that is set by hand stands still but for `Pass`, which lets what falls due on any of the buses
/// happen in the order of the times, on the calling thread.
/// Threads: any, holding no lock that an event of a bus takes.
class SimulatedClock {
  public:
    explicit SimulatedClock(bool isManual);
    SimulatedClock(const SimulatedClock&) = delete;
    SimulatedClock& operator=(const SimulatedClock&) = delete;

    bool IsManual() const { return m_isManual; }

    /// Nanoseconds since the clock began.
    unsigned long long GetTime() const;
    boost::chrono::steady_clock::time_point ToTimePoint(unsigned long long nanoseconds) const;

    /// Returns when so much time has passed since a moment of just now, and the moment at which it had. On
    /// the real clock that is earlier than the return by what the machine takes to notice. A clock that is
    /// set by hand stops for good after 146 years.
    unsigned long long Pass(unsigned long long since, unsigned long long nanoseconds);

    // Of a clock that is set by hand: the buses whose events `Pass` lets happen.

    void Add(SimulatedBus* pBus);
    void Remove(SimulatedBus* pBus);

    /// Never sets it back.
    void MoveTo(unsigned long long nanoseconds);

  private:
    void WaitUntil(unsigned long long moment) const;
    SimulatedBus* FindFirstDue(unsigned long long limit) const;

    const bool m_isManual;
    const boost::chrono::steady_clock::time_point m_begin;
    std::atomic<unsigned long long> m_manualTime{0};

    // Held while time passes by hand; guards m_buses. Recursive: an event may cause a register access, which
    // takes its time.
    mutable boost::recursive_mutex m_mutex;
    std::vector<SimulatedBus*> m_buses;
};

}  // namespace Zevrin
