#pragma once

#include <boost/preprocessor/seq/for_each.hpp>
#include <boost/preprocessor/stringize.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include "Script.h"
#include "zevrin/Callbacks.h"
#include "zevrin/CameraInfo.h"
#include "zevrin/DeviceEvent.h"
#include "zevrin/LookUpTable.h"
#include "zevrin/PixelFormat.h"
#include "zevrin/Strobe.h"
#include "zevrin/TimeStamp.h"
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
    virtual Error ReleaseBuffer() { return Script::Answer(m_camera, "Image", "ReleaseBuffer"); }

    std::string m_camera;
    TimeStamp m_timeStamp;
};

/// Operations that record their arguments and return `result`, in which `answer` is the script's.
#define SCRIPTED_EACH(unused, result, operation)                                                \
    template <typename... Arguments>                                                            \
    auto operation(Arguments... arguments) {                                                    \
        [[maybe_unused]] const Error answer =                                                   \
            Script::Answer(m_camera, m_className, BOOST_PP_STRINGIZE(operation), arguments...); \
        return result;                                                                          \
    }
#define SCRIPTED(result, operations) BOOST_PP_SEQ_FOR_EACH(SCRIPTED_EACH, result, operations)

/// The same of operations that every component has: the first argument recorded is the component's class.
#define SCRIPTED_OF_EACH(operation, result)                                            \
    template <typename... Arguments>                                                   \
    auto operation(Arguments... arguments) {                                           \
        [[maybe_unused]] const Error answer =                                          \
            Script::Answer(m_camera, "IOBase", #operation, m_className, arguments...); \
        return result;                                                                 \
    }

class IOBase {
  public:
    explicit IOBase(const char* className = "IOBase") : m_className(className) {
        Script::RecordConstruction(className);
    }
    virtual ~IOBase() { Script::Get().calls.push_back(std::string("-") + m_className); }

    Error ReadRegister(unsigned int address, unsigned int* pValue) {
        const Error error = Script::Answer(m_camera, m_className, "ReadRegister", address, pValue);
        if (error == ERR_OK) {
            *pValue = Script::Get().registers[address];
        }
        return error;
    }
    Error WriteRegister(unsigned int address, unsigned int value, bool broadcast) {
        const Error error = Script::Answer(m_camera, m_className, "WriteRegister", address, value, broadcast);
        if (error == ERR_OK) {
            Script::Get().registers[address] = value;
        }
        return error;
    }
    SCRIPTED(answer, (ReadRegisterBlock)(WriteRegisterBlock)(ReadBaseRegister)(WriteBaseRegister))

    Error GetTimeStamp(TimeStamp* pTimeStamp) {
        pTimeStamp->cycleSeconds = 9;
        return Script::Answer(m_camera, "IOBase", "GetTimeStamp", m_className);
    }
    Error GetPortErr(unsigned int* pErrors) {
        *pErrors = 31;
        return Script::Answer(m_camera, "IOBase", "GetPortErr", m_className);
    }
    SCRIPTED_OF_EACH(SetIO, answer)
    SCRIPTED_OF_EACH(ReleaseIO, answer)
    SCRIPTED_OF_EACH(GetRegReadErr, 0x20000000U)
    SCRIPTED_OF_EACH(GetRegWriteErr, 2U)
    SCRIPTED_OF_EACH(ResetRegReadErr, void())
    SCRIPTED_OF_EACH(ResetRegWriteErr, void())

    std::string m_camera;  ///< tells apart the components of several cameras in the record

  protected:
    const char* const m_className;
};

/// A component whose operations do nothing but answer.
#define SCRIPTED_COMPONENT(className, operations) \
    class className : public IOBase {             \
      public:                                     \
        className() : IOBase(#className) {}       \
        SCRIPTED(answer, operations)              \
    };
SCRIPTED_COMPONENT(DcamFormat, )
SCRIPTED_COMPONENT(Format7, )
SCRIPTED_COMPONENT(
    Lut, (QuerySupport)(QueryBankStatus)(GetActiveBank)(SetActiveBank)(Enable)(GetChannel)(SetChannel))
SCRIPTED_COMPONENT(MemoryChannel,
                   (GetMemoryChannel)(SaveToMemoryChannel)(RestoreFromMemoryChannel)(GetMemoryChannelInfo))
SCRIPTED_COMPONENT(Strobe, (GetStrobeInfo)(GetStrobe)(SetStrobe))
SCRIPTED_COMPONENT(Trigger, (GetTriggerModeInfo)(GetTriggerMode)(SetTriggerMode)(FireSoftwareTrigger))

class EventList : public IOBase {
  public:
    EventList() : IOBase("EventList") {}
    SCRIPTED(answer, (SetIO))
    SCRIPTED(Script::Get().eventStatus,
             (RegisterEvent)(DeregisterEvent)(RegisterAllEvents)(DeregisterAllEvents))
};

class Info : public IOBase {
  public:
    Info() : IOBase("Info") {}
    Error GetCameraInfo(CameraInfo* pInfo) {
        pInfo->serialNumber = 12;
        pInfo->bayerTileFormat = BAYER_GBRG;
        return Script::Answer(m_camera, m_className, "GetCameraInfo", pInfo);
    }
};

class Iso : public IOBase {
  public:
    Iso() : IOBase("Iso") {}
    bool IsGrabStarted() { return Script::Get().isGrabStarted; }
    Error GetBayerFormat(BayerTileFormat* pFormat) {
        const Error error = Script::Answer(m_camera, m_className, "GetBayerFormat", pFormat);
        *pFormat = error == ERR_OK ? BAYER_RGGB : *pFormat;
        return error;
    }
    Error RetrieveBuffer(Image* pImage) {
        const Error error = Script::Answer(m_camera, m_className, "RetrieveBuffer", pImage);
        return Script::Get().onRetrieve ? Script::Get().onRetrieve(m_camera, pImage) : error;
    }
    SCRIPTED(answer, (WaitForBufferEvent)(SetCallback)(SetUserBuffers)(StopCapture)(CacheEmbeddedImageInfo))
    SCRIPTED(answer, (ResetNumResendPacketsReceived)(ResetNumResendPacketsRequested))
    SCRIPTED(void(), (ResetNumOfImageCorrupt)(ResetNumOfImageDriverDropped)(ResetNumOfImageDropped))
    SCRIPTED(1U, (GetNumOfImageCorrupt))
    SCRIPTED(2U, (GetNumOfImageDriverDropped))
    SCRIPTED(3U, (GetNumOfImageDropped))
    SCRIPTED(4U, (GetNumResendPacketsReceived))
    SCRIPTED(5U, (GetNumResendPacketsRequested))
};

class PropertyManager : public IOBase {
  public:
    PropertyManager() : IOBase("PropertyManager") {}
    SCRIPTED(answer, (GetPropertyInfo))
    Error GetProperty(Property* pProperty) {
        Script::Get().lastProperty = *pProperty;
        pProperty->present = Script::Get().isPropertyPresent;
        pProperty->valueA = 300;
        return Script::Answer(m_camera, m_className, "GetProperty", pProperty);
    }
    Error SetProperty(const Property* pProperty, bool broadcast) {
        Script::Get().lastProperty = *pProperty;
        return Script::Answer(m_camera, m_className, "SetProperty", pProperty, broadcast);
    }
};

class BusMaster {
  public:
    BusMaster() { Script::RecordConstruction("BusMaster"); }
    virtual ~BusMaster() { Script::Get().calls.push_back("-BusMaster"); }

    /// The next of the scripted answers, of which the last one stays; 0 when there are none.
    unsigned int GetGeneration(unsigned int) {
        auto& generations = Script::Get().generations;
        const unsigned int generation = generations.empty() ? 0 : generations.front();
        if (generations.size() > 1) {
            generations.erase(generations.begin());
        }
        return generation;
    }
    Error GetHwInterfaceFromSerialNumber(unsigned int serialNumber, HardwareInterface** ppHardware) {
        m_hardware.m_type = Script::Get().interfaceTypes[serialNumber];
        *ppHardware = &m_hardware;
        return Script::Answer("", "BusMaster", "GetHwInterfaceFromSerialNumber", serialNumber);
    }

    HardwareInterface m_hardware;
};

}  // namespace Zevrin
