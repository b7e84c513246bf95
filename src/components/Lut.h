#pragma once

#include "IOBase.h"
#include "zevrin/LookUpTable.h"

namespace Zevrin {

/// The camera's look-up tables.
/// Errors: ERR_NOT_IMPLEMENTED, always, for now.
/// Threads: any.
class Lut : public IOBase {
  public:
    Error QuerySupport(LUTData* pData);
    Error QueryBankStatus(unsigned int bank, bool* pReadable, bool* pWritable);
    Error GetActiveBank(unsigned int* pBank);
    Error SetActiveBank(unsigned int bank);
    Error Enable(bool on);
    Error GetChannel(unsigned int bank, unsigned int channel, unsigned int numEntries,
                     unsigned int* pEntries);
    Error SetChannel(unsigned int bank, unsigned int channel, unsigned int numEntries,
                     const unsigned int* pEntries);
};

}  // namespace Zevrin
