#pragma once

#include <boost/thread/mutex.hpp>

#include "IOBase.h"
#include "zevrin/Trigger.h"

namespace Zevrin {

/// How exposure is triggered.
///
/// A record is filled whole or not at all.
/// Errors: ERR_INVALID_PARAMETER (no record), the access's.
/// Threads: any; a change is one step for all users of this object.
class Trigger : public IOBase {
  public:
    /// A camera without a trigger is a success with `present` false.
    Error GetTriggerModeInfo(TriggerModeInfo* pInfo);

    /// Errors: ERR_FEATURE_ABSENT.
    Error GetTriggerMode(TriggerMode* pMode);

    /// @param broadcast  every camera of the bus takes what this one takes
    /// Errors: ERR_FEATURE_ABSENT, ERR_NOT_SUPPORTED (no switch, no choice of polarity), ERR_INVALID_MODE (no
    /// such source or mode; names those that are there), ERR_VALUE_OUT_OF_RANGE; nothing is changed then.
    Error SetTriggerMode(const TriggerMode* pMode, bool broadcast);

    /// Errors: ERR_FEATURE_ABSENT (no software trigger), ERR_TRIGGER_FAILED (the trigger is off,
    /// listens to another source, or is in mode 1, in which the exposure lasts as long as the trigger).
    Error FireSoftwareTrigger(bool broadcast);

  private:
    Error ReadAbilities(TriggerModeInfo* pInfo);
    Error RequireTrigger(TriggerModeInfo* pInfo);

    boost::mutex m_mutex;  // guards the camera's trigger register between reading and writing it
};

}  // namespace Zevrin
