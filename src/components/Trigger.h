#pragma once

#include "IOBase.h"
#include "zevrin/Trigger.h"

namespace Zevrin {

/// How exposure is triggered.
/// Errors: ERR_NOT_IMPLEMENTED, always, for now.
/// Threads: any.
class Trigger : public IOBase {
  public:
    Error GetTriggerModeInfo(TriggerModeInfo* pInfo);
    Error GetTriggerMode(TriggerMode* pMode);
    Error SetTriggerMode(const TriggerMode* pMode, bool broadcast);
    Error FireSoftwareTrigger(bool broadcast);
};

}  // namespace Zevrin
