#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>

#include "Script.h"
#include "zevrin/TimeStamp.h"

namespace Zevrin {

class HardwareInterface;

class IOBase {
  public:
    IOBase() : IOBase("IOBase") {}
    virtual ~IOBase() { Script::RecordDestruction(m_className); }

    Error SetIO(boost::shared_ptr<HardwareInterface> pHardware, unsigned int first, unsigned int second) {
        return Script::Answer("IOBase::SetIO", m_className, pHardware.get(), first, second);
    }
    Error ReleaseIO() { return Script::Answer("IOBase::ReleaseIO", m_className); }

    Error ReadRegister(unsigned int address, unsigned int* pValue) {
        const Error error = Script::AnswerAccess(Script::Answer("IOBase::ReadRegister", address, pValue));
        if (error == ERR_OK && !Script::Get().isQuiet) {
            *pValue = Script::Get().registers[address];
        }
        return error;
    }
    Error WriteRegister(unsigned int address, unsigned int value, bool broadcast) {
        const Error error =
            Script::AnswerAccess(Script::Answer("IOBase::WriteRegister", address, value, broadcast));
        if (error == ERR_OK && !Script::Get().isQuiet) {
            Script::Get().registers[address] = value;
        }
        return error;
    }
    Error ReadRegisterBlock(unsigned short high, unsigned int low, unsigned int* pBuffer,
                            unsigned int length) {
        return Script::Answer("IOBase::ReadRegisterBlock", high, low, pBuffer, length);
    }
    Error WriteRegisterBlock(unsigned short high, unsigned int low, const unsigned int* pBuffer,
                             unsigned int length) {
        return Script::Answer("IOBase::WriteRegisterBlock", high, low, pBuffer, length);
    }
    Error ReadBaseRegister(unsigned int address, unsigned int* pValue) {
        return Script::Answer("IOBase::ReadBaseRegister", address, pValue);
    }
    Error WriteBaseRegister(unsigned int address, unsigned int value) {
        return Script::Answer("IOBase::WriteBaseRegister", address, value);
    }

    Error GetTimeStamp(TimeStamp* pTimeStamp) {
        *pTimeStamp = Script::Get().timeStamp;
        return Script::Answer("IOBase::GetTimeStamp", m_className);
    }
    Error GetPortErr(unsigned int* pErrors) {
        *pErrors = 31;
        return Script::Answer("IOBase::GetPortErr", m_className);
    }
    unsigned int GetRegReadErr() {
        static_cast<void>(Script::Answer("IOBase::GetRegReadErr", m_className));
        return Script::Get().readErrors;
    }
    unsigned int GetRegWriteErr() {
        static_cast<void>(Script::Answer("IOBase::GetRegWriteErr", m_className));
        return Script::Get().writeErrors;
    }
    void ResetRegReadErr() { static_cast<void>(Script::Answer("IOBase::ResetRegReadErr", m_className)); }
    void ResetRegWriteErr() { static_cast<void>(Script::Answer("IOBase::ResetRegWriteErr", m_className)); }

  protected:
    explicit IOBase(const char* className) : m_className(className) { Script::RecordConstruction(className); }

    const char* m_className;
};

}  // namespace Zevrin
