#include "Strobe.h"

#include "Failure.h"

namespace Zevrin {

Error Strobe::GetStrobeInfo(StrobeInfo*) {
    return Failure(ERR_NOT_IMPLEMENTED, "The strobe is not implemented yet.");
}

Error Strobe::GetStrobe(StrobeControl*) {
    return Failure(ERR_NOT_IMPLEMENTED, "The strobe is not implemented yet.");
}

Error Strobe::SetStrobe(const StrobeControl*, bool) {
    return Failure(ERR_NOT_IMPLEMENTED, "The strobe is not implemented yet.");
}

}  // namespace Zevrin
