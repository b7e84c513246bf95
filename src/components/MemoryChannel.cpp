#include "MemoryChannel.h"

#include "Failure.h"

namespace Zevrin {

Error MemoryChannel::GetMemoryChannel(unsigned int*) {
    return Failure(ERR_NOT_IMPLEMENTED, "Memory channels are not implemented yet.");
}

Error MemoryChannel::SaveToMemoryChannel(unsigned int) {
    return Failure(ERR_NOT_IMPLEMENTED, "Memory channels are not implemented yet.");
}

Error MemoryChannel::RestoreFromMemoryChannel(unsigned int) {
    return Failure(ERR_NOT_IMPLEMENTED, "Memory channels are not implemented yet.");
}

Error MemoryChannel::GetMemoryChannelInfo(unsigned int*) {
    return Failure(ERR_NOT_IMPLEMENTED, "Memory channels are not implemented yet.");
}

}  // namespace Zevrin
