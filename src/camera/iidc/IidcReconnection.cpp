#include "KeepAssertions.h"
// Before everything else.
#include <boost/smart_ptr/make_shared.hpp>

#include "CallbackThread.h"
#include "CameraShapes.h"
#include "EventList.h"
#include "Failure.h"
#include "HardwareInterface.h"
#include "IidcCamera.h"
#include "Iso.h"
#include "Reconnector.h"
#include "SettingsMemory.h"

// How the camera object connects again by itself. What has no lock here is kept apart by the reconnector's
// thread: it runs only between a connection and its end, and the object counts as connected throughout, under
// a generation that is not the present one.

namespace Zevrin {

struct IidcCamera::InterruptedStream {
    Iso::StreamStart start;
    bool isTransmissionWanted;
};

bool IidcCamera::IsWithinCallback() const {
    return m_pReconnector->IsCurrent() || CallbackThread::IsWithinCallbackOf(*m_pIso) ||
           m_pEventList->IsWithinCallback();
}

/// The reconnector's thread waits for callbacks, and is waited for.
Error IidcCamera::RequireOutsideOfReports() const {
    return m_pReconnector->IsRunning() && IsWithinCallback()
               ? MakeError(ERR_NOT_SUPPORTED,
                           "With a reconnect policy, a callback can neither connect nor disconnect.")
               : Success();
}

Error IidcCamera::SetReconnectPolicy(const ReconnectPolicy* pPolicy) {
    Error error = RequireOutsideOfReports();
    if (error != ERR_OK) {
        return error;
    }
    m_pReconnector->Stop();
    error = m_pReconnector->SetPolicy(pPolicy != nullptr ? *pPolicy : ReconnectPolicy());
    const Error started = IsConnected() ? m_pReconnector->Start(m_serialNumber) : Error();
    error = error == ERR_OK ? started : error;
    return error == ERR_OK ? Success() : Wrap(error);
}

Error IidcCamera::GetReconnectPolicy(ReconnectPolicy* pPolicy) const {
    if (pPolicy == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The reconnect policy needs a record to go to.");
    }
    *pPolicy = m_pReconnector->GetPolicy();
    return Success();
}

Error IidcCamera::WaitForReconnection(unsigned int timeoutMs) {
    if (!IsConnected()) {
        return MakeError(ERR_NOT_CONNECTED, "Camera object is not connected to a camera.");
    }
    if (IsWithinCallback()) {
        return MakeError(ERR_NOT_SUPPORTED,
                         "A callback cannot wait for the reconnection, which would wait for the callback.");
    }
    const Error error = m_pReconnector->Wait(timeoutMs);
    return error == ERR_OK ? Success() : Wrap(error);
}

/// Once more when the policy is set anew while it is at work. Ending a stream switches transmission off.
void IidcCamera::Suspend() {
    InterruptedStream stream = {};
    const bool isRunning = m_pIso->GetStreamStart(&stream.start);
    if (isRunning) {
        stream.isTransmissionWanted = m_pSettings->IsTransmissionOn();
        m_pInterruptedStream = boost::make_shared<InterruptedStream>(stream);
    }
    if (!Interrupt() && isRunning) {  // the application has stopped it meanwhile
        m_pInterruptedStream.reset();
    }
}

/// Whoever waits for an image is told of the loss, as without a policy. False when no stream ran.
bool IidcCamera::Interrupt() {
    const bool hasRun = m_pIso->StopForGood(
        m_pInterruptedStream ? Failure(ERR_CAMERA_LOST, "The connection to the camera was lost.") : Error());
    CloseHardware();
    return hasRun;
}

Error IidcCamera::TryAgain(ReconnectSettings settings,
                           const std::function<void(ReconnectStep, unsigned int, const Error&)>& tell) {
    unsigned int generation = 0;
    Error error = Attach(m_serialNumber, &generation);
    if (error == ERR_OK) {
        tell(RECONNECT_CONNECTED, 0, error);
        if (settings == RECONNECT_KEEP) {
            m_pSettings->Forget();
        } else {
            unsigned int count = 0;
            Error refusal;
            error = Restore(&count, &refusal);
            if (error == ERR_OK) {
                tell(RECONNECT_RESTORED, count, refusal);
            }
        }
    }
    if (error == ERR_OK && m_pInterruptedStream) {
        unsigned int gaps = 0;
        error = ResumeStream(&gaps);
        if (error == ERR_OK) {
            tell(RECONNECT_RESUMED, gaps, error);
        }
    }
    if (error == ERR_OK) {
        m_pInterruptedStream.reset();
        SetGeneration(generation);
    } else {
        Interrupt();
    }
    return error;
}

/// What the camera refuses does not keep the rest from being put back.
Error IidcCamera::Restore(unsigned int* pCount, Error* pRefusal) {
    const auto write = [this](const SettingsMemory::Run& run) {
        return m_pHardware->WriteQuadlets(run.addressHigh, run.addressLow, run.values.data(),
                                          static_cast<unsigned int>(run.values.size()), false);
    };
    return SettingsMemory::PutBack(m_pSettings->GetRuns(), write, pCount, pRefusal);
}

/// The application may have switched the transmission off while the stream ran.
Error IidcCamera::ResumeStream(unsigned int* pGaps) {
    const Iso::StreamStart& start = m_pInterruptedStream->start;
    *pGaps = start.gaps + 1;
    return m_pIso->StartCapture(start.config, start.receiver.callback, start.receiver.pData,
                                {*pGaps, m_pInterruptedStream->isTransmissionWanted});
}

}  // namespace Zevrin
