#include "Trigger.h"

#include "Failure.h"

namespace Zevrin {

Error Trigger::GetTriggerModeInfo(TriggerModeInfo*) {
    return Failure(ERR_NOT_IMPLEMENTED, "The trigger is not implemented yet.");
}

Error Trigger::GetTriggerMode(TriggerMode*) {
    return Failure(ERR_NOT_IMPLEMENTED, "The trigger is not implemented yet.");
}

Error Trigger::SetTriggerMode(const TriggerMode*, bool) {
    return Failure(ERR_NOT_IMPLEMENTED, "The trigger is not implemented yet.");
}

Error Trigger::FireSoftwareTrigger(bool) {
    return Failure(ERR_NOT_IMPLEMENTED, "The trigger is not implemented yet.");
}

}  // namespace Zevrin
