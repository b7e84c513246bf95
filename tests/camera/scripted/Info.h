#pragma once

#include "IOBase.h"

namespace Zevrin {

class Info : public IOBase {
  public:
    Info() : IOBase("Info") {}
};

}  // namespace Zevrin
