#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>

#include "CameraInternal.h"

namespace Zevrin {

/// The concrete camera for every register-mapped camera, whatever its transport.
///
/// Keeps its configuration through disconnection, so that connecting again after a bus reset or a lost
/// camera brings back how it streams. A stream is not resumed.
class ZEVRIN_API IidcCamera : public CameraInternal {
  public:
    IidcCamera();
    /// Stops the stream and disconnects.
    ~IidcCamera() override;

    /// Connects to the camera with this serial number. An object whose connection has gone stale (bus
    /// reset, camera lost) is disconnected first.
    /// Errors: ERR_ALREADY_CONNECTED, ERR_CAMERA_NOT_FOUND, ERR_CAMERA_LOST, ERR_ACCESS_DENIED,
    /// ERR_TRANSPORT_FAILED; the object is disconnected then, save with the first.
    /// Threads: not beside any other operation on this object.
    Error Connect(unsigned int serialNumber) override;

    /// Stops the stream, if one runs, waits for its callback (unless called from within it), and gives the
    /// camera up. Not guarded.
    /// Errors: ERR_NOT_CONNECTED.
    /// Threads: not beside any other operation on this object.
    Error Disconnect() override;

    /// Starts the stream as configured.
    /// @param callback  called with each image; null: the one that `SetCallback` installed, if any.
    ///                  Without a callback images are retrieved.
    /// Errors: the guard's, ERR_ISOCH_ALREADY_STARTED, ERR_ISOCH_START_FAILED, ERR_ISOCH_BUFFERS_FAILED,
    /// ERR_OUT_OF_MEMORY, ERR_CAMERA_LOST, the transport's; nothing runs then that did not run before.
    Error StartCapture(ImageCallback callback, const void* pCallbackData) override;

    /// How the next streams are set up. Not guarded.
    /// Errors: ERR_INVALID_PARAMETER, ERR_VALUE_OUT_OF_RANGE (nothing is changed).
    Error GetConfiguration(ZevrinConfig* pConfig) override;
    Error SetConfiguration(const ZevrinConfig* pConfig) override;

  private:
    void GiveUp();

    boost::shared_ptr<HardwareInterface> m_pHardware;

    boost::mutex m_configMutex;  // guards m_config
    ZevrinConfig m_config;
};

}  // namespace Zevrin
