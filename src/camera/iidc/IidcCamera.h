#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "CameraInternal.h"
#include "zevrin/ImageFormat.h"
#include "zevrin/Reconnection.h"

namespace Zevrin {

class Reconnector;
class RememberingHardware;
class SettingsMemory;

/// The concrete camera for every register-mapped camera, whatever its transport.
///
/// Keeps its configuration through disconnection, so that connecting again after a bus reset or a lost
/// camera brings back how it streams. With a reconnect policy it connects again by itself, puts back what was
/// written, and resumes the stream.
///
/// How long a call can take: a camera of a network that falls silent is taken for lost within 1 s, with which
/// every access that is under way ends; on other transports an access ends at once. A call that begins
/// afterwards fails at once. That also bounds `StopCapture`, `Disconnect`, and registering and deregistering
/// events, as far as they do not wait for a callback of the application's; `Disconnect` may wait for a try of
/// the reconnect policy beside. Retrievals take as long as they are told to, or until the loss.
class ZEVRIN_API IidcCamera : public CameraInternal {
  public:
    IidcCamera();
    /// Stops the stream and disconnects.
    ~IidcCamera() override;

    /// Connects to the camera with this serial number. An object whose connection has gone stale (bus
    /// reset, camera lost) is disconnected first.
    /// Errors: ERR_ALREADY_CONNECTED, ERR_CAMERA_NOT_FOUND, ERR_CAMERA_LOST, ERR_ACCESS_DENIED,
    /// ERR_TRANSPORT_FAILED; the object is disconnected then, save with the first. ERR_NOT_SUPPORTED, as with
    /// `Disconnect`.
    /// Takes up to a second for each network technology when the camera is to be looked for, and as long as
    /// the camera takes to describe itself: some tenths of a second, as a rule. A camera that another program
    /// controls and that does not say so takes 2.5 s to refuse.
    /// Threads: not beside any other operation on this object.
    Error Connect(unsigned int serialNumber) override;

    /// Stops the stream, if one runs, waits for its callback (unless called from within it), and gives the
    /// camera up. Not guarded. Of a lost camera nothing is waited for but an access, or a try to connect
    /// again, that is under way. Errors: ERR_NOT_CONNECTED; ERR_NOT_SUPPORTED with a reconnect policy from
    /// within an image or event callback or a report of the policy, for which it would wait. Threads: not
    /// beside any other operation on this object.
    Error Disconnect() override;

    /// What is done when the connection goes stale; null: nothing, which is the default. Applies at once, and
    /// to later connections. Not guarded.
    ///
    /// A lost connection shows as without a policy: waiting retrievals end with ERR_CAMERA_LOST, and
    /// operations fail with ERR_INVALID_GENERATION until it is made again. The stream then runs on with the
    /// same counts; `Image::GetGaps` marks its images, whose frame ids begin anew. `StopCapture` fails
    /// likewise and stops nothing: to have no stream again, disconnect. Transmission that was switched off
    /// within a stream is switched off again once it runs. A call that takes the policy away waits for a try
    /// that is under way. Errors: ERR_VALUE_OUT_OF_RANGE (nothing is changed), ERR_FAILED (the system refuses
    /// a thread), ERR_NOT_SUPPORTED, as with `Disconnect`. Threads: not beside `Connect`, `Disconnect` or
    /// itself.
    Error SetReconnectPolicy(const ReconnectPolicy* pPolicy);

    /// The present policy. Errors: ERR_INVALID_PARAMETER.
    Error GetReconnectPolicy(ReconnectPolicy* pPolicy) const;

    /// Waits, for at most `timeoutMs` milliseconds, until the connection holds: for whoever was told
    /// ERR_CAMERA_LOST or ERR_INVALID_GENERATION and has a policy that makes it again.
    /// Errors: ERR_NOT_CONNECTED, ERR_TIMEOUT, ERR_CAMERA_LOST (given up, or no policy), ERR_NOT_SUPPORTED
    /// (from within an image or event callback or a report of the policy, which the connection waits for).
    Error WaitForReconnection(unsigned int timeoutMs);

    /// Starts the stream as configured.
    /// @param callback  called with each image; null: the one that `SetCallback` installed, if any.
    ///                  Without a callback images are retrieved.
    /// Errors: the guard's, ERR_ISOCH_ALREADY_STARTED, ERR_ISOCH_START_FAILED, ERR_ISOCH_BUFFERS_FAILED,
    /// ERR_OUT_OF_MEMORY, ERR_CAMERA_LOST, the transport's; nothing runs then that did not run before.
    Error StartCapture(ImageCallback callback, const void* pCallbackData) override;

    /// How the next streams are set up. Not guarded. While a stream runs, the number of buffers and the grab
    /// mode must be that stream's. Errors: ERR_INVALID_PARAMETER, ERR_VALUE_OUT_OF_RANGE,
    /// ERR_ISOCH_ALREADY_STARTED (others than the running stream's); nothing is changed.
    Error GetConfiguration(ZevrinConfig* pConfig) override;
    /// Takes effect with the next stream. Errors: as above.
    Error SetConfiguration(const ZevrinConfig* pConfig) override;

    // Image formats. Setting one is refused with ERR_ISOCH_ALREADY_STARTED while a stream of this object
    // runs, whose buffers have the size of the present images.

    /// `format` and `mode` of the record choose a standard mode; one that is not there is told by `present`.
    /// Errors: the guard's, ERR_INVALID_PARAMETER, ERR_VALUE_OUT_OF_RANGE, the register access's.
    Error GetVideoModeInfo(VideoModeInfo* pInfo);

    /// The present format, mode and frame rate. Errors: as above.
    Error GetVideoMode(VideoModeSetting* pSetting);

    /// Sets a standard format, 0 to 2, with its mode and frame rate.
    /// Errors: as above; ERR_INVALID_MODE (not on this camera, or not while it transmits); what was changed
    /// until then is put back.
    Error SetVideoMode(const VideoModeSetting* pSetting);

    /// `mode` of the record chooses a mode of format 7; one that is not there is told by `present`.
    /// Errors: the guard's, ERR_INVALID_PARAMETER, ERR_VALUE_OUT_OF_RANGE, the register access's.
    Error GetFormat7Info(Format7Info* pInfo);

    /// The present region, pixel format and packet size.
    /// Errors: as above; ERR_FEATURE_ABSENT (no such mode), ERR_INVALID_MODE (another format is the present
    /// one).
    Error GetFormat7(Format7Settings* pSettings);

    /// Sets region, pixel format and packet size, and makes their mode the present one.
    /// Errors: as above; ERR_FEATURE_ABSENT (no such mode), ERR_NOT_SUPPORTED (pixel format, packet size),
    /// ERR_INVALID_MODE (the camera refuses the combination), ERR_TIMEOUT; what was changed until then is put
    /// back.
    Error SetFormat7(const Format7Settings* pSettings);

    /// The names that `RegisterEvent` takes. Not guarded. Errors: ERR_INVALID_PARAMETER, ERR_NOT_CONNECTED,
    /// ERR_NOT_SUPPORTED (no events on this interface, or none of this camera), the transport's when the
    /// device fails to tell. Threads: any.
    Error GetEventNames(std::vector<std::string>* pNames);

  private:
    struct InterruptedStream;

    Error Attach(unsigned int serialNumber, unsigned int* pGeneration);
    void CloseHardware();
    void GiveUp();
    bool IsWithinCallback() const;
    Error RequireOutsideOfReports() const;
    void Suspend();
    bool Interrupt();
    Error TryAgain(ReconnectSettings settings,
                   const std::function<void(ReconnectStep, unsigned int, const Error&)>& tell);
    Error Restore(unsigned int* pCount, Error* pRefusal);
    Error ResumeStream(unsigned int* pGaps);
    template <typename Operation>
    Error SettingFormat(const Operation& operation);

    const boost::shared_ptr<SettingsMemory> m_pSettings;
    boost::shared_ptr<RememberingHardware> m_pComponentHardware;  // kept through an absence of the camera
    boost::shared_ptr<HardwareInterface> m_pHardware;             // while it is open

    mutable boost::mutex m_configMutex;  // guards m_config
    ZevrinConfig m_config;

    boost::mutex m_formatMutex;  // guards the camera's choice of format, which two components change

    boost::shared_ptr<InterruptedStream>
        m_pInterruptedStream;  // to be resumed; the reconnector's thread's own

    std::unique_ptr<Reconnector> m_pReconnector;  // its thread ends before everything else
};

}  // namespace Zevrin
