#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "HardwareInterface.h"

namespace Zevrin {

class EventListener;
class GenicamDevice;
struct EventRecord;

/// The device events of one camera, over the message channel of GigE Vision, which Aravis leaves alone. Lasts
/// through absences of the camera: what was switched on is switched on again.
///
/// An event's number is that of the camera's own description, else that of the standard.
/// Threads: any. Deliveries come from a thread of the listener.
class DeviceEvents {
  public:
    DeviceEvents();
    ~DeviceEvents();
    DeviceEvents(const DeviceEvents&) = delete;
    DeviceEvents& operator=(const DeviceEvents&) = delete;

    /// The names that the camera's event selector offers, that can be printed, and whose numbers are known.
    /// Errors: ERR_NOT_SUPPORTED (USB3 Vision, or no selector), the device's.
    static Error GetNames(GenicamDevice& device, std::vector<std::string>* pNames);

    /// As `HardwareInterface::SetEventSink` and `SetEventNotification`.
    Error SetSink(EventSink* pSink);
    Error SetNotification(const std::string& name, bool on);

    /// The camera is there again; what fails is logged.
    void Begin(const boost::shared_ptr<GenicamDevice>& pDevice);

    /// It is not any more. Does nothing when another connection has begun since: whoever handles the loss of
    /// the former one may be late.
    void End(const boost::shared_ptr<GenicamDevice>& pDevice);

  private:
    Error OpenChannel(GenicamDevice& device);
    Error CloseChannel(GenicamDevice& device);
    Error Switch(GenicamDevice& device, const std::string& name, bool on);
    void Deliver(const EventRecord& record);

    boost::mutex m_mutex;                        // one change at a time; guards the five that follow
    boost::shared_ptr<GenicamDevice> m_pDevice;  // while the camera is there
    EventSink* m_pSink = nullptr;
    std::set<std::string> m_wanted;              // by name
    std::unique_ptr<EventListener> m_pListener;  // while the camera is there and somebody listens
    unsigned long long m_frequency = 0;          // of the camera's clock; changes while nothing listens

    boost::mutex m_namesMutex;                    // guards m_names, for the listener's thread
    std::map<unsigned int, std::string> m_names;  // by number
};

}  // namespace Zevrin
