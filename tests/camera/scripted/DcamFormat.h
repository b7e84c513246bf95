#pragma once

#include "IOBase.h"

namespace Zevrin {

class DcamFormat : public IOBase {
  public:
    DcamFormat() : IOBase("DcamFormat") {}
};

}  // namespace Zevrin
