#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/smart_ptr/weak_ptr.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>
#include <string>
#include <vector>

#include "HardwareInterface.h"
#include "IOBase.h"
#include "zevrin/DeviceEvent.h"

namespace Zevrin {

class EventDispatcher;

/// The device events that are registered on a camera. Each is registered once, with one callback.
///
/// Callbacks run one after another on one thread of this object. Of the events that wait for it, the newest
/// 256 are kept. A callback may call any operation, and may let go of the camera. What is registered stays so
/// while the camera is disconnected, and events come again with the next connection.
/// Threads: any.
class EventList : public IOBase {
  public:
    /// What a registration answers. Everything but success is logged with its reason.
    enum Status : int {
        kSuccess = 0,
        kInvalidOptions,     ///< no record, callback or name
        kNotConnected,       ///< no camera
        kNotSupported,       ///< the camera's transport has no events, or fails to tell
        kUnknownEvent,       ///< the camera has no event of this name
        kAlreadyRegistered,  ///< nothing is changed
        kNotRegistered,
        kNoThread  ///< the system refuses a thread
    };

    EventList();
    ~EventList() override;

    /// Also moves what is registered from the camera before to this one. Waits for a running callback, unless
    /// it is called from within one.
    void SetIO(boost::shared_ptr<HardwareInterface> pHardware, unsigned int initialRegisterSpace,
               unsigned int commandRegisters);

    /// `eventName` of the record chooses the event.
    int RegisterEvent(EventOptions* pOptions);

    /// No callback of the event begins or runs when it returns, unless it is called from within one. Of the
    /// record only `eventName` is looked at.
    int DeregisterEvent(EventOptions* pOptions);

    /// Every event that the camera can send, or none: fails when one of them is registered already.
    int RegisterAllEvents(EventOptions* pOptions);
    int DeregisterAllEvents();

    /// The events that the camera can send; the error says why there are none.
    Error GetEventNames(std::vector<std::string>* pNames);

    /// Whether the caller runs within a callback of this object.
    bool IsWithinCallback() const;

    /// Events that found too many others waiting.
    unsigned long long GetNumOfEventsDropped() const;

  private:
    /// Takes the camera's events for as long as this object has the camera.
    class Sink : public EventSink {
      public:
        explicit Sink(EventList& list) : m_list(list) {}
        void OnDeviceEvent(const RawDeviceEvent& event) override;

      private:
        EventList& m_list;
    };

    int Register(const std::vector<std::string>& names, const EventOptions& options,
                 boost::unique_lock<boost::mutex>* pLock);
    bool Subscribe();
    bool Notify(const std::vector<std::string>& names, bool on);
    void Unsubscribe();

    const boost::shared_ptr<EventDispatcher> m_pDispatcher;
    Sink m_sink;

    // Held during every change of what is registered and of where events come from; guards the latter. Never
    // held while a callback is waited for.
    boost::mutex m_mutex;
    boost::weak_ptr<HardwareInterface> m_pSource;  // not to hold a camera that was released
};

}  // namespace Zevrin
