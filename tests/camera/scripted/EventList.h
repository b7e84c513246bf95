#pragma once

#include "IOBase.h"
#include "zevrin/DeviceEvent.h"

namespace Zevrin {

class EventList : public IOBase {
  public:
    EventList() : IOBase("EventList") {}

    Error SetIO(boost::shared_ptr<HardwareInterface> pHardware, unsigned int first, unsigned int second) {
        return Script::Answer("EventList::SetIO", m_className, pHardware.get(), first, second);
    }

    int RegisterEvent(EventOptions* pOptions) { return Status("EventList::RegisterEvent", pOptions); }
    int DeregisterEvent(EventOptions* pOptions) { return Status("EventList::DeregisterEvent", pOptions); }
    int RegisterAllEvents(EventOptions* pOptions) { return Status("EventList::RegisterAllEvents", pOptions); }
    int DeregisterAllEvents() { return Status("EventList::DeregisterAllEvents", nullptr); }

  private:
    static int Status(const char* operation, const EventOptions* pOptions) {
        static_cast<void>(Script::Answer(operation, pOptions));
        return Script::Get().eventStatus;
    }
};

}  // namespace Zevrin
