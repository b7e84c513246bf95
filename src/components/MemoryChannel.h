#pragma once

#include "IOBase.h"

namespace Zevrin {

/// The settings that a camera keeps in its own memory.
/// Errors: ERR_NOT_IMPLEMENTED, always, for now.
/// Threads: any.
class MemoryChannel : public IOBase {
  public:
    Error GetMemoryChannel(unsigned int* pChannel);
    Error SaveToMemoryChannel(unsigned int channel);
    Error RestoreFromMemoryChannel(unsigned int channel);
    Error GetMemoryChannelInfo(unsigned int* pHighestChannel);
};

}  // namespace Zevrin
