#pragma once

#include "IOBase.h"
#include "zevrin/Strobe.h"

namespace Zevrin {

/// The camera's strobe outputs.
/// Errors: ERR_NOT_IMPLEMENTED, always, for now.
/// Threads: any.
class Strobe : public IOBase {
  public:
    Error GetStrobeInfo(StrobeInfo* pInfo);
    Error GetStrobe(StrobeControl* pControl);
    Error SetStrobe(const StrobeControl* pControl, bool broadcast);
};

}  // namespace Zevrin
