#include "HardwareInterface.h"

#include "Failure.h"

namespace Zevrin {

Error HardwareInterface::GetEventNames(std::vector<std::string>*) {
    return Failure(ERR_NOT_SUPPORTED, "This transport has no device events.");
}

Error HardwareInterface::SetEventSink(EventSink*) {
    return Failure(ERR_NOT_SUPPORTED, "This transport has no device events.");
}

Error HardwareInterface::SetEventNotification(const std::string& /*name*/, bool /*on*/) {
    return Error();
}

}  // namespace Zevrin
