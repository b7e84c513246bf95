#pragma once

#include "IOBase.h"

namespace Zevrin {

class MemoryChannel : public IOBase {
  public:
    MemoryChannel() : IOBase("MemoryChannel") {}

    Error GetMemoryChannel(unsigned int* pChannel) {
        return Script::Answer("MemoryChannel::GetMemoryChannel", pChannel);
    }
    Error SaveToMemoryChannel(unsigned int channel) {
        return Script::Answer("MemoryChannel::SaveToMemoryChannel", channel);
    }
    Error RestoreFromMemoryChannel(unsigned int channel) {
        return Script::Answer("MemoryChannel::RestoreFromMemoryChannel", channel);
    }
    Error GetMemoryChannelInfo(unsigned int* pHighest) {
        return Script::Answer("MemoryChannel::GetMemoryChannelInfo", pHighest);
    }
};

}  // namespace Zevrin
