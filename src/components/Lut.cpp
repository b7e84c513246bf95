#include "Lut.h"

#include "Failure.h"

namespace Zevrin {

Error Lut::QuerySupport(LUTData*) {
    return Failure(ERR_NOT_IMPLEMENTED, "Look-up tables are not implemented yet.");
}

Error Lut::QueryBankStatus(unsigned int, bool*, bool*) {
    return Failure(ERR_NOT_IMPLEMENTED, "Look-up tables are not implemented yet.");
}

Error Lut::GetActiveBank(unsigned int*) {
    return Failure(ERR_NOT_IMPLEMENTED, "Look-up tables are not implemented yet.");
}

Error Lut::SetActiveBank(unsigned int) {
    return Failure(ERR_NOT_IMPLEMENTED, "Look-up tables are not implemented yet.");
}

Error Lut::Enable(bool) {
    return Failure(ERR_NOT_IMPLEMENTED, "Look-up tables are not implemented yet.");
}

Error Lut::GetChannel(unsigned int, unsigned int, unsigned int, unsigned int*) {
    return Failure(ERR_NOT_IMPLEMENTED, "Look-up tables are not implemented yet.");
}

Error Lut::SetChannel(unsigned int, unsigned int, unsigned int, const unsigned int*) {
    return Failure(ERR_NOT_IMPLEMENTED, "Look-up tables are not implemented yet.");
}

}  // namespace Zevrin
