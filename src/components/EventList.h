#pragma once

#include "IOBase.h"
#include "zevrin/DeviceEvent.h"

namespace Zevrin {

/// The device events that are registered on a camera. Registration answers 0 on success and any other
/// value on failure: for now always a failure.
/// Threads: any.
class EventList : public IOBase {
  public:
    void SetIO(boost::shared_ptr<HardwareInterface> pHardware, unsigned int initialRegisterSpace,
               unsigned int commandRegisters);

    int RegisterEvent(EventOptions* pOptions);
    int DeregisterEvent(EventOptions* pOptions);
    int RegisterAllEvents(EventOptions* pOptions);
    int DeregisterAllEvents();
};

}  // namespace Zevrin
