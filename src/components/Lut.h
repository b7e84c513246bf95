#pragma once

#include <boost/thread/mutex.hpp>

#include "IOBase.h"
#include "zevrin/LookUpTable.h"

namespace Zevrin {

/// The camera's look-up tables: banks of channels, of which one bank is in use.
///
/// Errors: ERR_FEATURE_ABSENT (no look-up table; only `QuerySupport` succeeds then), ERR_LUT_FAILED (the
/// camera describes a table that cannot be), ERR_VALUE_OUT_OF_RANGE (bank, channel, number of entries),
/// ERR_INVALID_PARAMETER (no place for the result), the access's.
/// Threads: any; a change of the switch or of the active bank is one step for all users of this object, and
/// no two channels are transferred at a time.
class Lut : public IOBase {
  public:
    Error QuerySupport(LUTData* pData);
    Error QueryBankStatus(unsigned int bank, bool* pReadable, bool* pWritable);
    Error GetActiveBank(unsigned int* pBank);
    Error SetActiveBank(unsigned int bank);

    /// Errors: ERR_NOT_SUPPORTED (the table cannot be switched).
    Error Enable(bool on);

    /// @param numEntries  length of the array, which is the number of entries of a channel
    /// Errors: ERR_ACCESS_DENIED (the bank cannot be read, or written). A transfer that fails half-way leaves
    /// its beginning: the message says how many entries went across.
    Error GetChannel(unsigned int bank, unsigned int channel, unsigned int numEntries,
                     unsigned int* pEntries);
    Error SetChannel(unsigned int bank, unsigned int channel, unsigned int numEntries,
                     const unsigned int* pEntries);

  private:
    struct Table;

    Error FindTable(Table* pTable);
    Error RequireTable(Table* pTable);
    Error RequireBank(unsigned int bank, Table* pTable);
    Error RequireChannel(unsigned int bank, unsigned int channel, unsigned int numEntries, const char* what,
                         Table* pTable);
    Error ReadBankStatus(const Table& table, unsigned int bank, bool* pReadable, bool* pWritable);

    boost::mutex m_mutex;  // guards the camera's table between reading and writing it
};

}  // namespace Zevrin
