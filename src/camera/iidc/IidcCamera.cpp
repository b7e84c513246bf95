#include "KeepAssertions.h"
// Before everything else.
#include <boost/thread/lock_guard.hpp>

#include "BusMaster.h"
#include "CameraShapes.h"
#include "DcamFormat.h"
#include "EventList.h"
#include "Failure.h"
#include "Format7.h"
#include "HardwareInterface.h"
#include "IidcCamera.h"
#include "Info.h"
#include "Iso.h"
#include "Singleton.h"

namespace Zevrin {

IidcCamera::IidcCamera() = default;

IidcCamera::~IidcCamera() {
    GiveUp();
}

Error IidcCamera::Connect(unsigned int serialNumber) {
    if (IsConnected() && CheckGeneration()) {
        return Failure(ERR_ALREADY_CONNECTED, "The object is connected to camera %u; disconnect it first.",
                       m_serialNumber);
    }
    GiveUp();

    const SingletonHold<BusMaster> busMaster;
    boost::shared_ptr<HardwareInterface> pHardware;
    Error error = busMaster->AcquireHardware(serialNumber, &pHardware);
    if (error != ERR_OK) {
        return Wrap(error);
    }
    // Before the camera is opened: a bus reset from here on makes the connection stale, as it should.
    const unsigned int generation = busMaster->GetGeneration(serialNumber);
    error = pHardware->Open();
    if (error != ERR_OK) {
        return Wrap(error);
    }
    m_pHardware = pHardware;
    const RegisterBases bases = pHardware->GetRegisterBases();
    m_initialRegisterSpace = bases.initialRegisterSpace;
    m_commandRegisters = bases.commandRegisters;
    error = SetAllIO(pHardware, m_initialRegisterSpace, m_commandRegisters);
    if (error == ERR_OK) {
        error = m_pInfo->GetCameraInfo(&m_cameraInfo);
    }
    if (error != ERR_OK) {
        GiveUp();
        return Wrap(error);
    }
    m_serialNumber = serialNumber;
    SetGeneration(generation);
    m_bConnected = true;
    return Success();
}

Error IidcCamera::Disconnect() {
    if (!IsConnected()) {
        return MakeError(ERR_NOT_CONNECTED, "Camera object is not connected to a camera.");
    }
    GiveUp();
    return Success();
}

/// The serial number and the generation stay: operations say "not connected" from here on, not that the
/// bus has changed.
void IidcCamera::GiveUp() {
    if (!m_pHardware) {
        return;
    }
    m_pIso->StopForGood();               // no callback runs from here on
    m_pEventList->SetIO(nullptr, 0, 0);  // withdrawing the handle alone would leave the camera reporting
    const Error released = ReleaseAllIO();
    static_cast<void>(released);
    m_pHardware->Close();
    m_pHardware.reset();
    m_bConnected = false;
}

Error IidcCamera::StartCapture(ImageCallback callback, const void* pCallbackData) {
    return Wrapping(*this, [&] {
        ZevrinConfig config;
        const Error error = GetConfiguration(&config);
        return error != ERR_OK ? error : m_pIso->StartCapture(config, callback, pCallbackData);
    });
}

Error IidcCamera::GetConfiguration(ZevrinConfig* pConfig) {
    if (pConfig == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The configuration needs a record to go to.");
    }
    boost::lock_guard<boost::mutex> lock(m_configMutex);
    *pConfig = m_config;
    return Success();
}

Error IidcCamera::SetConfiguration(const ZevrinConfig* pConfig) {
    if (pConfig == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The configuration needs a record to come from.");
    }
    const Error error = Iso::CheckConfiguration(*pConfig);
    if (error != ERR_OK) {
        return Wrap(error);
    }
    boost::lock_guard<boost::mutex> lock(m_configMutex);
    m_config = *pConfig;
    return Success();
}

Error IidcCamera::GetVideoModeInfo(VideoModeInfo* pInfo) {
    return Wrapping(*this, [&] { return m_pDcamFormat->GetVideoModeInfo(pInfo); });
}

Error IidcCamera::GetVideoMode(VideoModeSetting* pSetting) {
    return Wrapping(*this, [&] { return m_pDcamFormat->GetVideoMode(pSetting); });
}

Error IidcCamera::GetFormat7Info(Format7Info* pInfo) {
    return Wrapping(*this, [&] { return m_pFormat7->GetFormat7Info(pInfo); });
}

Error IidcCamera::GetFormat7(Format7Settings* pSettings) {
    return Wrapping(*this, [&] { return m_pFormat7->GetFormat7(pSettings); });
}

/// A stream that another thread starts between the look and the change is not seen.
template <typename Operation>
Error IidcCamera::SettingFormat(const Operation& operation) {
    return Wrapping(*this, [&] {
        boost::lock_guard<boost::mutex> lock(m_formatMutex);
        return m_pIso->IsGrabStarted()
                   ? Failure(ERR_ISOCH_ALREADY_STARTED,
                             "The image format cannot be changed while a stream runs; stop it first.")
                   : operation();
    });
}

Error IidcCamera::SetVideoMode(const VideoModeSetting* pSetting) {
    return SettingFormat([&] { return m_pDcamFormat->SetVideoMode(pSetting); });
}

Error IidcCamera::SetFormat7(const Format7Settings* pSettings) {
    return SettingFormat([&] { return m_pFormat7->SetFormat7(pSettings); });
}

}  // namespace Zevrin
