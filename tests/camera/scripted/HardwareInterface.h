#pragma once

#include "Script.h"

namespace Zevrin {

class HardwareInterface {
  public:
    virtual ~HardwareInterface() = default;
    virtual int GetInterfaceType() { return Script::Get().interfaceType; }
};

}  // namespace Zevrin
