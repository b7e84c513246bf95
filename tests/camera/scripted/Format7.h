#pragma once

#include "IOBase.h"

namespace Zevrin {

class Format7 : public IOBase {
  public:
    Format7() : IOBase("Format7") {}
};

}  // namespace Zevrin
