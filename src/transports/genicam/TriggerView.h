#pragma once

#include "DeviceFeatures.h"

namespace Zevrin {

/// TRIGGER_INQ, TRIGGER_MODE and SOFTWARE_TRIGGER: TriggerMode, TriggerSource, TriggerActivation and
/// TriggerSoftware of the frame trigger. Sources 0 to 3 are Line0 to Line3; mode 1 is the exposure mode
/// TriggerWidth.
class TriggerView {
  public:
    static bool IsThere(DeviceFeatures& features);
    static unsigned int ReadInquiry(DeviceFeatures& features);
    static unsigned int ReadControl(DeviceFeatures& features);
    static void WriteControl(DeviceFeatures& features, unsigned int word);
    static void Fire(DeviceFeatures& features, unsigned int word);
};

}  // namespace Zevrin
