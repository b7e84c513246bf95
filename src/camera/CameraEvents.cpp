#include "KeepAssertions.h"
// Before everything else.
#include "BusMaster.h"
#include "CameraInternal.h"
#include "CameraShapes.h"
#include "EventList.h"
#include "HardwareInterface.h"
#include "Singleton.h"
#include "zevrin/InterfaceType.h"

namespace Zevrin {

namespace {

/// The shape of the four operations: refuse other interfaces, call the component, put its status into words.
template <typename Operation>
Error RegisteringEvents(CameraInternal& camera, const Operation& operation, const char* message,
                        int line = __builtin_LINE()) {
    if (!camera.InterfaceSupportsEvents()) {
        return MakeError(ERR_NOT_IMPLEMENTED, "Interface does not support events.", line);
    }
    return operation() != 0 ? MakeError(ERR_FAILED, message, line) : Success();
}

}  // namespace

// A bus manager that is not there, a camera that it does not know, and another interface than the two that
// have events are all the same answer.
bool CameraInternal::InterfaceSupportsEvents() {
    const SingletonHold<BusMaster> busMaster;
    HardwareInterface* pHardware = nullptr;
    if (!busMaster || busMaster->GetHwInterfaceFromSerialNumber(m_serialNumber, &pHardware) != ERR_OK) {
        return false;
    }
    const int type = pHardware->GetInterfaceType();
    return type == INTERFACE_U3V || type == INTERFACE_GIGE;
}

Error CameraInternal::RegisterEvent(EventOptions* pOptions) {
    return RegisteringEvents(
        *this, [&] { return m_pEventList->RegisterEvent(pOptions); },
        "Could not register event, likely due to it already being registered. De-register it first, and try "
        "again.");
}

Error CameraInternal::DeregisterEvent(EventOptions* pOptions) {
    return RegisteringEvents(
        *this, [&] { return m_pEventList->DeregisterEvent(pOptions); },
        "Could not de-register event, likely due to it not being registered.");
}

Error CameraInternal::RegisterAllEvents(EventOptions* pOptions) {
    return RegisteringEvents(
        *this, [&] { return m_pEventList->RegisterAllEvents(pOptions); },
        "Could not register all events, likely due to at least one already being registered. De-register all "
        "events and try again.");
}

Error CameraInternal::DeregisterAllEvents() {
    return RegisteringEvents(
        *this, [&] { return m_pEventList->DeregisterAllEvents(); },
        "Could not de-register all events, likely due to none being registered.");
}

}  // namespace Zevrin
