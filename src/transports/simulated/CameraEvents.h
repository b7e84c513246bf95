#pragma once

#include <atomic>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <string>
#include <vector>

#include "HardwareInterface.h"

namespace Zevrin {

/// The device events of a simulated camera. Ids below 0x9000 are those of the GigE Vision standard.
enum class CameraEvent : unsigned int {
    kExposureStart,
    kExposureEnd,
    kTrigger,
    kFrameStart,
    kOverrun,
    kLinkChange
};

std::vector<std::string> GetCameraEventNames();

/// @param number  what the event's four bytes of data say, big-endian
RawDeviceEvent MakeCameraEvent(CameraEvent event, unsigned long long timeNs, unsigned int number);

/// Where the events of one handle go. Shared with the camera that is attached to it at the time.
/// Threads: any, holding no lock that a sink may take.
class EventOutlet {
  public:
    /// Null ends it; no delivery is under way then.
    /// Errors: ERR_EVENT_FAILED.
    Error SetSink(EventSink* pSink);

    /// Whether it is worth while to make events.
    bool HasSink() const { return m_hasSink; }

    /// Calls `take` for what is to be delivered, until it gives nothing more: one thread at a time, so that
    /// events stay in order.
    template <typename Take>
    void Deliver(Take take) {
        const boost::lock_guard<boost::recursive_mutex> lock(m_mutex);
        for (std::vector<RawDeviceEvent> events = take(); !events.empty(); events = take()) {
            for (const RawDeviceEvent& event : events) {
                if (m_pSink != nullptr) {
                    m_pSink->OnDeviceEvent(event);
                }
            }
        }
    }

  private:
    // Held while events are delivered; guards m_pSink. Recursive: what a sink does may cause events.
    boost::recursive_mutex m_mutex;
    EventSink* m_pSink = nullptr;
    std::atomic<bool> m_hasSink{false};
};

}  // namespace Zevrin
