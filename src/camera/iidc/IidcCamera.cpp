#include "KeepAssertions.h"
// Before everything else.
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <utility>

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
#include "Reconnector.h"
#include "RememberingHardware.h"
#include "SettingsMemory.h"
#include "Singleton.h"

namespace Zevrin {

IidcCamera::IidcCamera()
    : m_pSettings(boost::make_shared<SettingsMemory>()),
      m_pReconnector(std::make_unique<Reconnector>(Reconnector::Actions{
          [this] { return !CheckGeneration(); },
          [this] { Suspend(); },
          [this](ReconnectSettings settings, const Reconnector::Actions::Tell& tell) {
              return TryAgain(settings, tell);
          },
      })) {}

IidcCamera::~IidcCamera() {
    GiveUp();
}

Error IidcCamera::Connect(unsigned int serialNumber) {
    if (IsConnected() && CheckGeneration()) {
        return Failure(ERR_ALREADY_CONNECTED, "The object is connected to camera %u; disconnect it first.",
                       m_serialNumber);
    }
    Error error = RequireOutsideOfReports();
    if (error != ERR_OK) {
        return error;
    }
    GiveUp();
    m_pSettings->Forget();
    unsigned int generation = 0;
    error = Attach(serialNumber, &generation);
    if (error != ERR_OK) {
        GiveUp();
        return Wrap(error);
    }
    m_serialNumber = serialNumber;
    SetGeneration(generation);
    m_bConnected = true;
    error = m_pReconnector->Start(serialNumber);
    if (error != ERR_OK) {
        GiveUp();
        return Wrap(error);
    }
    return Success();
}

/// Opens the camera and hands it to the components.
Error IidcCamera::Attach(unsigned int serialNumber, unsigned int* pGeneration) {
    const SingletonHold<BusMaster> busMaster;
    boost::shared_ptr<HardwareInterface> pHardware;
    Error error = busMaster->AcquireHardware(serialNumber, &pHardware);
    if (error != ERR_OK) {
        return error;
    }
    // Before the camera is opened: a bus reset from here on makes the connection stale, as it should.
    *pGeneration = busMaster->GetGeneration(serialNumber);
    error = pHardware->Open();
    if (error != ERR_OK) {
        return error;
    }
    m_pHardware = pHardware;
    if (!m_pComponentHardware || m_pComponentHardware->GetHardware() != pHardware) {
        m_pComponentHardware = boost::make_shared<RememberingHardware>(pHardware, m_pSettings);
    }
    const RegisterBases bases = pHardware->GetRegisterBases();
    m_initialRegisterSpace = bases.initialRegisterSpace;
    m_commandRegisters = bases.commandRegisters;
    error = SetAllIO(m_pComponentHardware, m_initialRegisterSpace, m_commandRegisters);
    return error == ERR_OK ? m_pInfo->GetCameraInfo(&m_cameraInfo) : error;
}

Error IidcCamera::Disconnect() {
    if (!IsConnected()) {
        return MakeError(ERR_NOT_CONNECTED, "Camera object is not connected to a camera.");
    }
    const Error error = RequireOutsideOfReports();
    if (error != ERR_OK) {
        return error;
    }
    GiveUp();
    return Success();
}

/// The serial number and the generation stay: operations say "not connected" from here on, not that the
/// bus has changed.
void IidcCamera::GiveUp() {
    m_pReconnector->Stop();
    m_pInterruptedStream.reset();
    if (!m_pHardware && !m_bConnected) {
        return;
    }
    m_pIso->StopForGood();               // no callback runs from here on
    m_pEventList->SetIO(nullptr, 0, 0);  // withdrawing the handle alone would leave the camera reporting
    const Error released = ReleaseAllIO();
    static_cast<void>(released);
    CloseHardware();
    m_bConnected = false;
}

void IidcCamera::CloseHardware() {
    if (m_pHardware) {
        m_pHardware->Close();
        m_pHardware.reset();
    }
}

Error IidcCamera::StartCapture(ImageCallback callback, const void* pCallbackData) {
    return Wrapping(*this, [&] {
        ZevrinConfig config;
        const Error error = GetConfiguration(&config);
        if (error != ERR_OK) {
            return error;
        }
        return m_pIso->StartCapture(config, callback, pCallbackData);
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

/// A stream that another thread starts between the look and the change is not seen.
Error IidcCamera::SetConfiguration(const ZevrinConfig* pConfig) {
    if (pConfig == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The configuration needs a record to come from.");
    }
    Error error = Iso::CheckConfiguration(*pConfig);
    if (error == ERR_OK) {
        error = m_pIso->CheckAgainstStream(*pConfig);
    }
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

Error IidcCamera::GetEventNames(std::vector<std::string>* pNames) {
    if (pNames == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "There is no room for the names of the events.");
    }
    return m_pEventList->GetEventNames(pNames);
}

}  // namespace Zevrin
