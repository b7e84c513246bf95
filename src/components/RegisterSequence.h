#pragma once

#include "IOBase.h"
#include "zevrin/Error.h"

namespace Zevrin {

/// Register accesses one after another, up to the first that fails: from then on nothing reaches the camera,
/// reads give 0, and the failure is kept. So a run of accesses needs one check where its values count.
class RegisterSequence {
  public:
    /// @param broadcast  every camera of the bus takes the writes
    explicit RegisterSequence(IOBase& io, bool broadcast = false) : m_io(io), m_broadcast(broadcast) {}

    /// Addresses count from the command registers.
    unsigned int Read(unsigned int address);
    void Write(unsigned int address, unsigned int value);

    /// Addresses count from the initial register space.
    unsigned int ReadBase(unsigned int address);
    void ReadBase(unsigned int address, unsigned int* pBuffer, unsigned int length);
    void WriteBase(unsigned int address, unsigned int value);
    void WriteBase(unsigned int address, const unsigned int* pBuffer, unsigned int length);

    /// Where the block begins whose place this register announces, counted from the initial register
    /// space; 0 when the register announces none.
    unsigned int FindBlock(unsigned int inquiryRegister);

    /// Reads a register until the bits of `mask` are 0, as a self-clearing bit becomes when its work is done,
    /// and gives what was read last. Fails with ERR_TIMEOUT when they are not in time.
    unsigned int WaitForClear(unsigned int address, unsigned int mask, unsigned int timeoutMs);
    unsigned int WaitForClearBase(unsigned int address, unsigned int mask, unsigned int timeoutMs);

    bool HasFailed() const { return m_error != ERR_OK; }
    const Error& GetError() const { return m_error; }

  private:
    template <typename ReadAgain>
    unsigned int WaitFor(const ReadAgain& read, unsigned int address, unsigned int mask,
                         unsigned int timeoutMs);

    IOBase& m_io;
    const bool m_broadcast;
    Error m_error;
};

}  // namespace Zevrin
