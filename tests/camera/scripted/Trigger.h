#pragma once

#include "IOBase.h"
#include "zevrin/Trigger.h"

namespace Zevrin {

class Trigger : public IOBase {
  public:
    Trigger() : IOBase("Trigger") {}

    Error GetTriggerModeInfo(TriggerModeInfo* pInfo) {
        return Script::Answer("Trigger::GetTriggerModeInfo", pInfo);
    }
    Error GetTriggerMode(TriggerMode* pMode) { return Script::Answer("Trigger::GetTriggerMode", pMode); }
    Error SetTriggerMode(const TriggerMode* pMode, bool broadcast) {
        return Script::Answer("Trigger::SetTriggerMode", pMode, broadcast);
    }
    Error FireSoftwareTrigger(bool broadcast) {
        return Script::Answer("Trigger::FireSoftwareTrigger", broadcast);
    }
};

}  // namespace Zevrin
