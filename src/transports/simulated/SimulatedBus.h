#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <memory>
#include <queue>
#include <vector>

#include "Description.h"
#include "SimulatedClock.h"

namespace Zevrin {

class SimulatedDevice;
struct Exposure;

/// Something that is due on a bus.
struct BusEvent {
    enum class Kind { kExposureDue, kExposureEnd, kDelayedFrame, kInputChange };

    unsigned long long time = 0;      ///< nanoseconds of the bus clock
    unsigned long long sequence = 0;  ///< order among events of one time
    Kind kind = Kind::kExposureDue;
    SimulatedDevice* pDevice = nullptr;
    unsigned int epoch = 0;  ///< void when the epoch of its kind has moved on
    unsigned int input = 0;  ///< pin that changes
    bool isHigh = false;     ///< to this level
    boost::shared_ptr<const Exposure> pExposure;
};

/// One bus: its cameras and what is due on it.
///
/// With the real clock a thread of the bus lets things happen; with one that is set by hand the thread that
/// lets time pass. One event at a time, in the order of their times, holding no lock of the bus.
class SimulatedBus {
  public:
    /// Throws boost::thread_resource_error.
    SimulatedBus(const BusDescription& description, unsigned int number,
                 boost::shared_ptr<SimulatedClock> pClock);
    ~SimulatedBus();
    SimulatedBus(const SimulatedBus&) = delete;
    SimulatedBus& operator=(const SimulatedBus&) = delete;

    const std::vector<std::unique_ptr<SimulatedDevice>>& GetDevices() const { return m_devices; }

    SimulatedClock& GetClock() const { return *m_pClock; }

    /// Nanoseconds of the clock.
    unsigned long long GetTime() const { return m_pClock->GetTime(); }

    /// From here on nothing happens by itself any more.
    void Stop();

    // For a clock that is set by hand.

    /// Whether anything is due up to `limit`, and when its first is.
    bool IsDue(unsigned long long limit, unsigned long long* pTime) const;

    /// Lets the first event happen that is due up to `limit`.
    void RunNext(unsigned long long limit);

    /// Guards everything about the bus and its cameras that changes. The queue of a stream, the listeners
    /// of a transport and the time that a register access takes stay outside.
    boost::mutex& GetMutex() const { return m_mutex; }

    // With the mutex held.

    void Schedule(BusEvent event);

  private:
    struct Later {
        bool operator()(const BusEvent& left, const BusEvent& right) const {
            return left.time != right.time ? left.time > right.time : left.sequence > right.sequence;
        }
    };

    void Run();
    BusEvent TakeFirst();

    const boost::shared_ptr<SimulatedClock> m_pClock;
    std::vector<std::unique_ptr<SimulatedDevice>> m_devices;  // set by the constructor

    mutable boost::mutex m_mutex;
    boost::condition_variable m_changed;
    std::priority_queue<BusEvent, std::vector<BusEvent>, Later> m_events;
    unsigned long long m_nextSequence = 0;
    bool m_isStopping = false;
    boost::thread m_thread;
};

}  // namespace Zevrin
