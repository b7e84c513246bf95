#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>

#include "Script.h"
#include "zevrin/Callbacks.h"
#include "zevrin/DeviceEvent.h"
#include "zevrin/LookUpTable.h"
#include "zevrin/Strobe.h"
#include "zevrin/Trigger.h"

// What stands in place of every component that the camera object knows.

namespace Zevrin {

class HardwareInterface {
  public:
    virtual ~HardwareInterface() = default;
    virtual int GetInterfaceType() { return m_type; }

    int m_type = 0;
};

class Image {
  public:
    virtual ~Image() = default;
    virtual TimeStamp GetTimeStamp() const { return m_timeStamp; }
    virtual Error ReleaseBuffer() { return Script::AnswerOf(m_camera, "Image::ReleaseBuffer"); }

    std::string m_camera;
    TimeStamp m_timeStamp;
};

/// An operation that records its arguments and returns `result`, in which `answer` is the script's.
#define SCRIPTED_AS(className, operation, result)                                 \
    template <typename... Arguments>                                              \
    auto operation(Arguments... arguments) {                                      \
        [[maybe_unused]] const Error answer =                                     \
            Script::AnswerOf(m_camera, #className "::" #operation, arguments...); \
        return result;                                                            \
    }
#define SCRIPTED(className, operation) SCRIPTED_AS(className, operation, answer)

/// The same of an operation that every component has: the first argument recorded is the component's class.
#define SCRIPTED_OF_EACH(operation, result)                                   \
    template <typename... Arguments>                                          \
    auto operation(Arguments... arguments) {                                  \
        [[maybe_unused]] const Error answer =                                 \
            Script::Answer("IOBase::" #operation, m_className, arguments...); \
        return result;                                                        \
    }

class IOBase {
  public:
    explicit IOBase(const char* className = "IOBase") : m_className(className) {
        Script::RecordConstruction(className);
    }
    virtual ~IOBase() { Script::Get().calls.push_back(std::string("-") + m_className); }

    Error ReadRegister(unsigned int address, unsigned int* pValue) {
        const Error error =
            Script::AnswerAccess(Script::AnswerOf(m_camera, "IOBase::ReadRegister", address, pValue));
        if (error == ERR_OK && !Script::Get().isQuiet) {
            *pValue = Script::Get().registers[address];
        }
        return error;
    }
    Error WriteRegister(unsigned int address, unsigned int value, bool broadcast) {
        const Error error = Script::AnswerAccess(
            Script::AnswerOf(m_camera, "IOBase::WriteRegister", address, value, broadcast));
        if (error == ERR_OK && !Script::Get().isQuiet) {
            Script::Get().registers[address] = value;
        }
        return error;
    }
    SCRIPTED(IOBase, ReadRegisterBlock)
    SCRIPTED(IOBase, WriteRegisterBlock)
    SCRIPTED(IOBase, ReadBaseRegister)
    SCRIPTED(IOBase, WriteBaseRegister)

    Error GetTimeStamp(TimeStamp* pTimeStamp) {
        *pTimeStamp = Script::Get().timeStamp;
        return Script::Answer("IOBase::GetTimeStamp", m_className);
    }
    Error GetPortErr(unsigned int* pErrors) {
        *pErrors = 31;
        return Script::Answer("IOBase::GetPortErr", m_className);
    }
    SCRIPTED_OF_EACH(SetIO, answer)
    SCRIPTED_OF_EACH(ReleaseIO, answer)
    SCRIPTED_OF_EACH(GetRegReadErr, Script::Get().readErrors)
    SCRIPTED_OF_EACH(GetRegWriteErr, Script::Get().writeErrors)
    SCRIPTED_OF_EACH(ResetRegReadErr, void())
    SCRIPTED_OF_EACH(ResetRegWriteErr, void())

    std::string m_camera;  ///< tells apart the components of several cameras in the record

  private:
    const char* m_className;
};

class DcamFormat : public IOBase {
  public:
    DcamFormat() : IOBase("DcamFormat") {}
};

class Format7 : public IOBase {
  public:
    Format7() : IOBase("Format7") {}
};

class EventList : public IOBase {
  public:
    EventList() : IOBase("EventList") {}
    SCRIPTED(EventList, SetIO)
    SCRIPTED_AS(EventList, RegisterEvent, Script::Get().eventStatus)
    SCRIPTED_AS(EventList, DeregisterEvent, Script::Get().eventStatus)
    SCRIPTED_AS(EventList, RegisterAllEvents, Script::Get().eventStatus)
    SCRIPTED_AS(EventList, DeregisterAllEvents, Script::Get().eventStatus)
};

class Info : public IOBase {
  public:
    Info() : IOBase("Info") {}
    Error GetCameraInfo(CameraInfo* pInfo) {
        *pInfo = Script::Get().cameraInfo;
        return Script::Answer("Info::GetCameraInfo", pInfo);
    }
};

class Iso : public IOBase {
  public:
    Iso() : IOBase("Iso") {}
    bool IsGrabStarted() {
        ++Script::Get().grabStartedQueries;
        return Script::Get().isGrabStarted;
    }
    Error GetBayerFormat(BayerTileFormat* pFormat) {
        const Error error = Script::Answer("Iso::GetBayerFormat", pFormat);
        if (error == ERR_OK) {
            *pFormat = Script::Get().bayerFormat;
        }
        return error;
    }
    Error RetrieveBuffer(Image* pImage) {
        const Error error = Script::AnswerOf(m_camera, "Iso::RetrieveBuffer", pImage);
        return Script::Get().onRetrieve ? Script::Get().onRetrieve(m_camera, pImage) : error;
    }
    SCRIPTED(Iso, WaitForBufferEvent)
    SCRIPTED(Iso, SetCallback)
    SCRIPTED(Iso, SetUserBuffers)
    SCRIPTED(Iso, StopCapture)
    SCRIPTED(Iso, CacheEmbeddedImageInfo)
    SCRIPTED_AS(Iso, GetNumOfImageCorrupt, 1U)
    SCRIPTED_AS(Iso, GetNumOfImageDriverDropped, 2U)
    SCRIPTED_AS(Iso, GetNumOfImageDropped, 3U)
    SCRIPTED_AS(Iso, GetNumResendPacketsReceived, 4U)
    SCRIPTED_AS(Iso, GetNumResendPacketsRequested, 5U)
    SCRIPTED_AS(Iso, ResetNumOfImageCorrupt, void())
    SCRIPTED_AS(Iso, ResetNumOfImageDriverDropped, void())
    SCRIPTED_AS(Iso, ResetNumOfImageDropped, void())
    SCRIPTED(Iso, ResetNumResendPacketsReceived)
    SCRIPTED(Iso, ResetNumResendPacketsRequested)
};

class Lut : public IOBase {
  public:
    Lut() : IOBase("Lut") {}
    SCRIPTED(Lut, QuerySupport)
    SCRIPTED(Lut, QueryBankStatus)
    SCRIPTED(Lut, GetActiveBank)
    SCRIPTED(Lut, SetActiveBank)
    SCRIPTED(Lut, Enable)
    SCRIPTED(Lut, GetChannel)
    SCRIPTED(Lut, SetChannel)
};

class MemoryChannel : public IOBase {
  public:
    MemoryChannel() : IOBase("MemoryChannel") {}
    SCRIPTED(MemoryChannel, GetMemoryChannel)
    SCRIPTED(MemoryChannel, SaveToMemoryChannel)
    SCRIPTED(MemoryChannel, RestoreFromMemoryChannel)
    SCRIPTED(MemoryChannel, GetMemoryChannelInfo)
};

class PropertyManager : public IOBase {
  public:
    PropertyManager() : IOBase("PropertyManager") {}
    SCRIPTED(PropertyManager, GetPropertyInfo)
    Error GetProperty(Property* pProperty) {
        Script::Get().lastProperty = *pProperty;
        const Error error = Script::Answer("PropertyManager::GetProperty", pProperty);
        if (error == ERR_OK && !Script::Get().isQuiet) {
            pProperty->present = Script::Get().property.present;
            pProperty->valueA = Script::Get().property.valueA;
        }
        return error;
    }
    Error SetProperty(const Property* pProperty, bool broadcast) {
        Script::Get().lastProperty = *pProperty;
        return Script::Answer("PropertyManager::SetProperty", pProperty, broadcast);
    }
};

class Strobe : public IOBase {
  public:
    Strobe() : IOBase("Strobe") {}
    SCRIPTED(Strobe, GetStrobeInfo)
    SCRIPTED(Strobe, GetStrobe)
    SCRIPTED(Strobe, SetStrobe)
};

class Trigger : public IOBase {
  public:
    Trigger() : IOBase("Trigger") {}
    SCRIPTED(Trigger, GetTriggerModeInfo)
    SCRIPTED(Trigger, GetTriggerMode)
    SCRIPTED(Trigger, SetTriggerMode)
    SCRIPTED(Trigger, FireSoftwareTrigger)
};

class BusMaster {
  public:
    BusMaster() { Script::RecordConstruction("BusMaster"); }
    virtual ~BusMaster() { Script::Get().calls.push_back("-BusMaster"); }

    static void* operator new(std::size_t size) noexcept {
        return Script::Get().isBusMasterMissing ? nullptr : ::operator new(size);
    }
    static void operator delete(void* pMemory) { ::operator delete(pMemory); }

    /// The next of the scripted answers, of which the last one stays; 0 when there are none.
    unsigned int GetGeneration(unsigned int serialNumber) {
        m_lastSerialNumber = serialNumber;
        auto& generations = Script::Get().generations;
        const unsigned int generation = generations.empty() ? 0 : generations.front();
        if (generations.size() > 1) {
            generations.erase(generations.begin());
        }
        return generation;
    }
    Error GetHwInterfaceFromSerialNumber(unsigned int serialNumber, HardwareInterface** ppHardware) {
        const auto type = Script::Get().interfaceTypes.find(serialNumber);
        m_hardware.m_type =
            type != Script::Get().interfaceTypes.end() ? type->second : Script::Get().interfaceType;
        *ppHardware = &m_hardware;
        return Script::Answer("BusMaster::GetHwInterfaceFromSerialNumber", serialNumber);
    }

    HardwareInterface m_hardware;
    unsigned int m_lastSerialNumber = 0;
};

}  // namespace Zevrin
