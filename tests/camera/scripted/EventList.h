#pragma once

#include "IOBase.h"

namespace Zevrin {

class EventList : public IOBase {
  public:
    EventList() : IOBase("EventList") {}

    Error SetIO(boost::shared_ptr<HardwareInterface> pHardware, unsigned int first, unsigned int second) {
        return Script::Answer("EventList::SetIO", m_className, pHardware.get(), first, second);
    }
};

}  // namespace Zevrin
