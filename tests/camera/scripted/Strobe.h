#pragma once

#include "IOBase.h"
#include "zevrin/Strobe.h"

namespace Zevrin {

class Strobe : public IOBase {
  public:
    Strobe() : IOBase("Strobe") {}

    Error GetStrobeInfo(StrobeInfo* pInfo) { return Script::Answer("Strobe::GetStrobeInfo", pInfo); }
    Error GetStrobe(StrobeControl* pControl) { return Script::Answer("Strobe::GetStrobe", pControl); }
    Error SetStrobe(const StrobeControl* pControl, bool broadcast) {
        return Script::Answer("Strobe::SetStrobe", pControl, broadcast);
    }
};

}  // namespace Zevrin
