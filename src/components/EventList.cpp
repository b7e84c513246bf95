#include "EventList.h"

#include <utility>

namespace Zevrin {

namespace {

constexpr int kNotImplemented = 1;

}  // namespace

void EventList::SetIO(boost::shared_ptr<HardwareInterface> pHardware, unsigned int initialRegisterSpace,
                      unsigned int commandRegisters) {
    IOBase::SetIO(std::move(pHardware), initialRegisterSpace, commandRegisters);
}

int EventList::RegisterEvent(EventOptions*) {
    return kNotImplemented;
}

int EventList::DeregisterEvent(EventOptions*) {
    return kNotImplemented;
}

int EventList::RegisterAllEvents(EventOptions*) {
    return kNotImplemented;
}

int EventList::DeregisterAllEvents() {
    return kNotImplemented;
}

}  // namespace Zevrin
