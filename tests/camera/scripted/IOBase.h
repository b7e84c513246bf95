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
        return Script::Answer("IOBase::ReadRegister", address, pValue);
    }
    Error WriteRegister(unsigned int address, unsigned int value, bool broadcast) {
        return Script::Answer("IOBase::WriteRegister", address, value, broadcast);
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

  protected:
    explicit IOBase(const char* className) : m_className(className) { Script::RecordConstruction(className); }

    const char* m_className;
};

}  // namespace Zevrin
