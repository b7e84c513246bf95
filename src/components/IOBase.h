#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>

#include "HardwareInterface.h"
#include "zevrin/Error.h"
#include "zevrin/TimeStamp.h"

namespace Zevrin {

/// The part of every component that reaches the camera: its handle, its register spaces, and its own
/// counts of failed register accesses.
///
/// Registers are quadlets at byte addresses. An access is refused before it reaches the camera, and not
/// counted, with ERR_NOT_CONNECTED (no handle), ERR_INVALID_ADDRESS (not a multiple of four, or past the
/// end of the 32-bit space) or ERR_INVALID_PARAMETER (null pointer, nothing to transfer). Every other failure
/// is the camera's and is counted. Threads: any. An access under way when the handle is withdrawn ends on
/// that handle.
class IOBase {
  public:
    IOBase() = default;
    virtual ~IOBase() = default;
    IOBase(const IOBase&) = delete;
    IOBase& operator=(const IOBase&) = delete;

    /// @param initialRegisterSpace  low address of the camera's initial register space
    /// @param commandRegisters      low address of its command registers
    void SetIO(boost::shared_ptr<HardwareInterface> pHardware, unsigned int initialRegisterSpace,
               unsigned int commandRegisters);
    void ReleaseIO();

    /// Addresses count from the command registers.
    Error ReadRegister(unsigned int address, unsigned int* pValue);
    Error WriteRegister(unsigned int address, unsigned int value, bool broadcast);

    /// Addresses count from the initial register space.
    Error ReadBaseRegister(unsigned int address, unsigned int* pValue);
    Error WriteBaseRegister(unsigned int address, unsigned int value);

    /// Whole addresses; `length` in quadlets.
    Error ReadRegisterBlock(unsigned short addressHigh, unsigned int addressLow, unsigned int* pBuffer,
                            unsigned int length);
    Error WriteRegisterBlock(unsigned short addressHigh, unsigned int addressLow, const unsigned int* pBuffer,
                             unsigned int length);

    /// Runs of registers that count from the initial register space: where the blocks lie whose place a
    /// camera announces.
    /// @param broadcast  every camera of the bus takes the write
    Error ReadBaseRegisters(unsigned int address, unsigned int* pBuffer, unsigned int length);
    Error WriteBaseRegisters(unsigned int address, const unsigned int* pBuffer, unsigned int length,
                             bool broadcast);

    /// The camera's bus time, and the errors that its port has counted.
    Error GetTimeStamp(TimeStamp* pTimeStamp);
    Error GetPortErr(unsigned int* pPortErrors);

    unsigned int GetRegReadErr() const { return m_readErrors; }
    unsigned int GetRegWriteErr() const { return m_writeErrors; }
    void ResetRegReadErr() { m_readErrors = 0; }
    void ResetRegWriteErr() { m_writeErrors = 0; }

  protected:
    /// The camera's handle; null before `SetIO` and after `ReleaseIO`.
    boost::shared_ptr<HardwareInterface> GetHardware() const;

    /// The camera's handle, or the error that says that there is none.
    Error RequireHardware(boost::shared_ptr<HardwareInterface>* ppHardware) const;

  private:
    struct Connection {
        boost::shared_ptr<HardwareInterface> pHardware;
        RegisterBases bases;
    };
    Connection GetConnection() const;

    Error Read(const Connection& connection, unsigned short addressHigh, unsigned long long addressLow,
               unsigned int* pBuffer, unsigned int length);
    Error Write(const Connection& connection, unsigned short addressHigh, unsigned long long addressLow,
                const unsigned int* pBuffer, unsigned int length, bool broadcast);

    mutable boost::mutex m_connectionMutex;  // guards m_connection
    Connection m_connection;
    std::atomic<unsigned int> m_readErrors{0};
    std::atomic<unsigned int> m_writeErrors{0};
};

}  // namespace Zevrin
