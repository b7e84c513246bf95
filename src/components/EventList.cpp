#include "EventList.h"

#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_guard.hpp>
#include <utility>

#include "EventDispatcher.h"
#include "Failure.h"
#include "FormatText.h"
#include "Log.h"

namespace Zevrin {

namespace {

int Refuse(EventList::Status status, const char* reason, const std::string& name = "") {
    Log().info("{}: {}.", name.empty() ? "Device events" : "Device event " + Printable(name), reason);
    return status;
}

/// The same where an error has said why, in a whole sentence.
int Refuse(const Error& error) {
    Log().info("Device events: {}", error.GetDescription());
    return error == ERR_NOT_CONNECTED ? EventList::kNotConnected : EventList::kNotSupported;
}

}  // namespace

EventList::EventList() : m_pDispatcher(boost::make_shared<EventDispatcher>()), m_sink(*this) {}

EventList::~EventList() {
    Unsubscribe();
    m_pDispatcher->Stop();
}

void EventList::Sink::OnDeviceEvent(const RawDeviceEvent& event) {
    // The handle can be withdrawn through the base class, which this object does not see.
    if (m_list.GetHardware()) {
        m_list.m_pDispatcher->Push(event);
    }
}

void EventList::SetIO(boost::shared_ptr<HardwareInterface> pHardware, unsigned int initialRegisterSpace,
                      unsigned int commandRegisters) {
    boost::shared_ptr<HardwareInterface> pFormer;  // to be told, though nobody else may hold it any more
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        pFormer = m_pSource.lock();
        const bool isSame = pHardware == pFormer;
        IOBase::SetIO(std::move(pHardware), initialRegisterSpace, commandRegisters);
        if (isSame) {
            return;
        }
        Unsubscribe();
        m_pDispatcher->Flush();
        if (GetHardware() && !m_pDispatcher->IsEmpty() &&
            !(Subscribe() && Notify(m_pDispatcher->GetNames(), true))) {
            Log().warn("The registered device events cannot be had from the camera that is connected now.");
        }
    }
    m_pDispatcher->WaitForCallback(m_pDispatcher->GetNames());
}

/// The caller holds m_mutex, as with the three that follow.
bool EventList::Subscribe() {
    const boost::shared_ptr<HardwareInterface> pHardware = GetHardware();
    if (m_pSource.lock() == pHardware) {
        return pHardware != nullptr;
    }
    Unsubscribe();
    if (!pHardware) {
        return false;
    }
    const Error error = pHardware->SetEventSink(&m_sink);
    if (error != ERR_OK) {
        Log().info("Device events cannot be had: {}", error.GetDescription());
        return false;
    }
    m_pSource = pHardware;
    return true;
}

void EventList::Unsubscribe() {
    if (const boost::shared_ptr<HardwareInterface> pSource = m_pSource.lock()) {
        const Error error = pSource->SetEventSink(nullptr);
        if (error != ERR_OK) {
            Log().warn("Device events did not end in order: {}", error.GetDescription());
        }
    }
    m_pSource.reset();
}

/// Lets the camera send these events, or not. False when it refuses one.
bool EventList::Notify(const std::vector<std::string>& names, bool on) {
    bool isDone = true;
    const boost::shared_ptr<HardwareInterface> pSource = m_pSource.lock();
    for (const std::string& name : names) {
        const Error error = pSource ? pSource->SetEventNotification(name, on) : Error();
        if (error != ERR_OK) {
            Log().info("Device event {}: {}", Printable(name), error.GetDescription());
            isDone = false;
        }
    }
    return isDone;
}

Error EventList::GetEventNames(std::vector<std::string>* pNames) {
    const boost::shared_ptr<HardwareInterface> pHardware = GetHardware();
    return pHardware ? pHardware->GetEventNames(pNames)
                     : Failure(ERR_NOT_CONNECTED, "No camera is connected.");
}

/// Lets go of the lock when it has failed: an event of those that were taken up may have come meanwhile, and
/// its callback is waited for.
int EventList::Register(const std::vector<std::string>& names, const EventOptions& options,
                        boost::unique_lock<boost::mutex>* pLock) {
    const std::string name = names.size() == 1 ? names.front() : "";
    try {
        if (!m_pDispatcher->Add(names, {options.callback, options.userData})) {
            return Refuse(kAlreadyRegistered, "it is registered already", name);
        }
    } catch (const boost::thread_resource_error&) {
        return Refuse(kNoThread, "the system refuses a thread to deliver it", name);
    }
    if (!Subscribe() || !Notify(names, true)) {
        Notify(names, false);
        for (const std::string& added : names) {
            m_pDispatcher->Remove(added);
        }
        if (m_pDispatcher->IsEmpty()) {
            Unsubscribe();
        }
        pLock->unlock();
        m_pDispatcher->WaitForCallback(names);
        return Refuse(kNotSupported, "the camera does not report it", name);
    }
    return kSuccess;
}

int EventList::RegisterEvent(EventOptions* pOptions) {
    if (pOptions == nullptr || pOptions->callback == nullptr || pOptions->eventName == nullptr) {
        return Refuse(kInvalidOptions, "registering it needs a record with a callback and a name");
    }
    const std::string name = pOptions->eventName;
    boost::unique_lock<boost::mutex> lock(m_mutex);
    std::vector<std::string> names;
    const Error error = GetEventNames(&names);
    if (error != ERR_OK) {
        return Refuse(error);
    }
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        return Refuse(kUnknownEvent, "the camera has no event of this name", name);
    }
    return Register({name}, *pOptions, &lock);
}

int EventList::RegisterAllEvents(EventOptions* pOptions) {
    if (pOptions == nullptr || pOptions->callback == nullptr) {
        return Refuse(kInvalidOptions, "registering all of them needs a record with a callback");
    }
    boost::unique_lock<boost::mutex> lock(m_mutex);
    std::vector<std::string> names;
    const Error error = GetEventNames(&names);
    if (error != ERR_OK) {
        return Refuse(error);
    }
    return names.empty() ? Refuse(kUnknownEvent, "the camera has none") : Register(names, *pOptions, &lock);
}

int EventList::DeregisterEvent(EventOptions* pOptions) {
    if (pOptions == nullptr || pOptions->eventName == nullptr) {
        return Refuse(kInvalidOptions, "deregistering it needs a record with a name");
    }
    const std::string name = pOptions->eventName;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (!m_pDispatcher->Remove(name)) {
            return Refuse(kNotRegistered, "it is not registered", name);
        }
        Notify({name}, false);
        if (m_pDispatcher->IsEmpty()) {
            Unsubscribe();
        }
    }
    m_pDispatcher->WaitForCallback({name});
    return kSuccess;
}

int EventList::DeregisterAllEvents() {
    std::vector<std::string> names;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        names = m_pDispatcher->RemoveAll();
        if (names.empty()) {
            return Refuse(kNotRegistered, "none is registered");
        }
        Unsubscribe();
    }
    m_pDispatcher->WaitForCallback(names);
    return kSuccess;
}

bool EventList::IsWithinCallback() const {
    return m_pDispatcher->IsCurrent();
}

unsigned long long EventList::GetNumOfEventsDropped() const {
    return m_pDispatcher->GetNumDropped();
}

}  // namespace Zevrin
