#pragma once

#include "IOBase.h"
#include "zevrin/LookUpTable.h"

namespace Zevrin {

class Lut : public IOBase {
  public:
    Lut() : IOBase("Lut") {}

    Error QuerySupport(LUTData* pData) { return Script::Answer("Lut::QuerySupport", pData); }
    Error QueryBankStatus(unsigned int bank, bool* pReadable, bool* pWritable) {
        return Script::Answer("Lut::QueryBankStatus", bank, pReadable, pWritable);
    }
    Error GetActiveBank(unsigned int* pBank) { return Script::Answer("Lut::GetActiveBank", pBank); }
    Error SetActiveBank(unsigned int bank) { return Script::Answer("Lut::SetActiveBank", bank); }
    Error Enable(bool on) { return Script::Answer("Lut::Enable", on); }
    Error GetChannel(unsigned int bank, unsigned int channel, unsigned int count, unsigned int* pEntries) {
        return Script::Answer("Lut::GetChannel", bank, channel, count, pEntries);
    }
    Error SetChannel(unsigned int bank, unsigned int channel, unsigned int count,
                     const unsigned int* pEntries) {
        return Script::Answer("Lut::SetChannel", bank, channel, count, pEntries);
    }
};

}  // namespace Zevrin
