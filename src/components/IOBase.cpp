#include "IOBase.h"

#include <boost/thread/lock_guard.hpp>
#include <utility>

#include "Failure.h"

namespace Zevrin {

namespace {

constexpr unsigned long long kLowSpaceSize = 0x100000000ULL;

/// What is wrong with an access before it is tried.
Error CheckAccess(const HardwareInterface* pHardware, unsigned short addressHigh,
                  unsigned long long addressLow, const unsigned int* pBuffer, unsigned int length) {
    if (pHardware == nullptr) {
        return Failure(ERR_NOT_CONNECTED, "Register 0x%04X %08llX cannot be reached: no camera is connected.",
                       addressHigh, addressLow);
    }
    if (pBuffer == nullptr || length == 0) {
        return Failure(ERR_INVALID_PARAMETER, "Access to register 0x%04X %08llX needs a buffer and a length.",
                       addressHigh, addressLow);
    }
    if (addressLow % sizeof(unsigned int) != 0) {
        return Failure(ERR_INVALID_ADDRESS, "Register address 0x%04X %08llX is not a multiple of 4.",
                       addressHigh, addressLow);
    }
    if (addressLow >= kLowSpaceSize || length > (kLowSpaceSize - addressLow) / sizeof(unsigned int)) {
        return Failure(ERR_INVALID_ADDRESS,
                       "Registers 0x%04X %08llX and on, %u of them, end past the 32-bit address space.",
                       addressHigh, addressLow, length);
    }
    return Error();
}

}  // namespace

void IOBase::SetIO(boost::shared_ptr<HardwareInterface> pHardware, unsigned int initialRegisterSpace,
                   unsigned int commandRegisters) {
    boost::lock_guard<boost::mutex> lock(m_connectionMutex);
    m_connection = {std::move(pHardware), {initialRegisterSpace, commandRegisters}};
}

void IOBase::ReleaseIO() {
    SetIO(nullptr, 0, 0);
}

IOBase::Connection IOBase::GetConnection() const {
    boost::lock_guard<boost::mutex> lock(m_connectionMutex);
    return m_connection;
}

boost::shared_ptr<HardwareInterface> IOBase::GetHardware() const {
    return GetConnection().pHardware;
}

Error IOBase::RequireHardware(boost::shared_ptr<HardwareInterface>* ppHardware) const {
    *ppHardware = GetHardware();
    return *ppHardware ? Error() : Failure(ERR_NOT_CONNECTED, "No camera is connected.");
}

Error IOBase::Read(const Connection& connection, unsigned short addressHigh, unsigned long long addressLow,
                   unsigned int* pBuffer, unsigned int length) {
    Error error = CheckAccess(connection.pHardware.get(), addressHigh, addressLow, pBuffer, length);
    if (error != ERR_OK) {
        return error;
    }
    error = connection.pHardware->ReadQuadlets(addressHigh, static_cast<unsigned int>(addressLow), pBuffer,
                                               length);
    if (error != ERR_OK) {
        ++m_readErrors;
    }
    return error;
}

Error IOBase::Write(const Connection& connection, unsigned short addressHigh, unsigned long long addressLow,
                    const unsigned int* pBuffer, unsigned int length, bool broadcast) {
    Error error = CheckAccess(connection.pHardware.get(), addressHigh, addressLow, pBuffer, length);
    if (error != ERR_OK) {
        return error;
    }
    error = connection.pHardware->WriteQuadlets(addressHigh, static_cast<unsigned int>(addressLow), pBuffer,
                                                length, broadcast);
    if (error != ERR_OK) {
        ++m_writeErrors;
    }
    return error;
}

Error IOBase::ReadRegister(unsigned int address, unsigned int* pValue) {
    const Connection connection = GetConnection();
    return Read(connection, kRegisterSpace, 0ULL + connection.bases.commandRegisters + address, pValue, 1);
}

Error IOBase::WriteRegister(unsigned int address, unsigned int value, bool broadcast) {
    const Connection connection = GetConnection();
    return Write(connection, kRegisterSpace, 0ULL + connection.bases.commandRegisters + address, &value, 1,
                 broadcast);
}

Error IOBase::ReadBaseRegister(unsigned int address, unsigned int* pValue) {
    return ReadBaseRegisters(address, pValue, 1);
}

Error IOBase::WriteBaseRegister(unsigned int address, unsigned int value) {
    return WriteBaseRegisters(address, &value, 1, false);
}

Error IOBase::ReadBaseRegisters(unsigned int address, unsigned int* pBuffer, unsigned int length) {
    const Connection connection = GetConnection();
    return Read(connection, kRegisterSpace, 0ULL + connection.bases.initialRegisterSpace + address, pBuffer,
                length);
}

Error IOBase::WriteBaseRegisters(unsigned int address, const unsigned int* pBuffer, unsigned int length,
                                 bool broadcast) {
    const Connection connection = GetConnection();
    return Write(connection, kRegisterSpace, 0ULL + connection.bases.initialRegisterSpace + address, pBuffer,
                 length, broadcast);
}

Error IOBase::ReadRegisterBlock(unsigned short addressHigh, unsigned int addressLow, unsigned int* pBuffer,
                                unsigned int length) {
    return Read(GetConnection(), addressHigh, addressLow, pBuffer, length);
}

Error IOBase::WriteRegisterBlock(unsigned short addressHigh, unsigned int addressLow,
                                 const unsigned int* pBuffer, unsigned int length) {
    return Write(GetConnection(), addressHigh, addressLow, pBuffer, length, false);
}

Error IOBase::GetTimeStamp(TimeStamp* pTimeStamp) {
    boost::shared_ptr<HardwareInterface> pHardware;
    const Error error = RequireHardware(&pHardware);
    if (error != ERR_OK) {
        return error;
    }
    if (pTimeStamp == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The bus time needs a record to go to.");
    }
    return pHardware->GetBusTime(pTimeStamp);
}

Error IOBase::GetPortErr(unsigned int* pPortErrors) {
    boost::shared_ptr<HardwareInterface> pHardware;
    const Error error = RequireHardware(&pHardware);
    if (error != ERR_OK) {
        return error;
    }
    if (pPortErrors == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The port errors need a place to go to.");
    }
    return pHardware->GetPortErrors(pPortErrors);
}

}  // namespace Zevrin
