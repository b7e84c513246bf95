#include "KeepAssertions.h"
// Before everything else.
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_types.hpp>

#include "BusMaster.h"
#include "CameraInternal.h"
#include "CameraShapes.h"
#include "DcamFormat.h"
#include "EventList.h"
#include "Format7.h"
#include "HardwareInterface.h"
#include "IOBase.h"
#include "Info.h"
#include "InternalError.h"
#include "Iso.h"
#include "Lut.h"
#include "MemoryChannel.h"
#include "PropertyManager.h"
#include "Singleton.h"
#include "Strobe.h"
#include "Trigger.h"

namespace Zevrin {

namespace {

constexpr char kSourceFile[] = "CameraInternal.cpp";
constexpr char kBuildDate[] = __DATE__;
constexpr char kBuildTime[] = __TIME__;

}  // namespace

Error MakeError(ErrorType type, const char* message, int line) {
    return InternalError(line, kSourceFile, kBuildDate, kBuildTime, type, "%s", message);
}

Error MakeError(ErrorType type, const Error& cause, const char* message, int line) {
    return InternalError(line, kSourceFile, kBuildDate, kBuildTime, type, InternalError(cause), "%s",
                         message);
}

// The description as a format is intended; nothing that a device supplies reaches a description unescaped.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
Error Wrap(const Error& failure, int line) {
    return InternalError(line, kSourceFile, kBuildDate, kBuildTime, failure.GetType(), InternalError(failure),
                         failure.GetDescription());
}
#pragma GCC diagnostic pop

CameraInternal::CameraInternal()
    : m_pIOBase(boost::make_shared<IOBase>()),
      m_pPropertyManager(boost::make_shared<PropertyManager>()),
      m_pFormat7(boost::make_shared<Format7>()),
      m_pTrigger(boost::make_shared<Trigger>()),
      m_pStrobe(boost::make_shared<Strobe>()),
      m_pDcamFormat(boost::make_shared<DcamFormat>()),
      m_pIso(boost::make_shared<Iso>()),
      m_pInfo(boost::make_shared<Info>()),
      m_pLut(boost::make_shared<Lut>()),
      m_pMemoryChannel(boost::make_shared<MemoryChannel>()),
      m_pEventList(boost::make_shared<EventList>()) {
    Singleton<BusMaster>::getInstance();  // held until the destructor releases it
}

CameraInternal::~CameraInternal() {
    m_pIOBase.reset();
    m_pPropertyManager.reset();
    m_pFormat7.reset();
    m_pTrigger.reset();
    m_pStrobe.reset();
    m_pDcamFormat.reset();
    m_pIso.reset();
    m_pInfo.reset();
    m_pLut.reset();
    m_pMemoryChannel.reset();
    m_pEventList.reset();
    Singleton<BusMaster>::releaseInstance();
}

unsigned int CameraInternal::GetGeneration() const {
    boost::unique_lock<boost::mutex> lock(m_generationMutex);
    return m_generation;
}

void CameraInternal::SetGeneration(unsigned int generation) {
    boost::unique_lock<boost::mutex> lock(m_generationMutex);
    m_generation = generation;
}

bool CameraInternal::CheckGeneration() const {
    const SingletonHold<BusMaster> busMaster;
    const unsigned int remembered = GetGeneration();
    return busMaster->GetGeneration(m_serialNumber) == remembered;
}

// A camera that was never connected fails here by its generation: nothing the bus manager answers equals
// what such an object remembers.
Error CameraInternal::CheckValidity() const {
    if (!CheckGeneration()) {
        return MakeError(ERR_INVALID_GENERATION, "Generation count is incorrect.");
    }
    if (!IsConnected()) {
        return MakeError(ERR_NOT_CONNECTED, "Camera object is not connected to a camera.");
    }
    return Success();
}

Error CameraInternal::SetAllIO(boost::shared_ptr<HardwareInterface> pHardware,
                               unsigned int initialRegisterSpace, unsigned int commandRegisters) {
    const boost::shared_ptr<IOBase> components[] = {m_pIOBase, m_pPropertyManager, m_pFormat7, m_pTrigger,
                                                    m_pStrobe, m_pDcamFormat,      m_pIso,     m_pInfo,
                                                    m_pLut,    m_pMemoryChannel};
    for (const auto& pComponent : components) {
        static_cast<void>(pComponent->SetIO(pHardware, initialRegisterSpace, commandRegisters));
    }
    static_cast<void>(m_pEventList->SetIO(pHardware, initialRegisterSpace, commandRegisters));
    return Success();
}

Error CameraInternal::ReleaseAllIO() {
    const boost::shared_ptr<IOBase> components[] = {m_pIOBase, m_pPropertyManager, m_pFormat7,  m_pTrigger,
                                                    m_pStrobe, m_pDcamFormat,      m_pIso,      m_pInfo,
                                                    m_pLut,    m_pMemoryChannel,   m_pEventList};
    for (const auto& pComponent : components) {
        static_cast<void>(pComponent->ReleaseIO());
    }
    return Success();
}

}  // namespace Zevrin
