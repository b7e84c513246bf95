#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <cstddef>
#include <string>
#include <vector>

#include "zevrin/Configuration.h"
#include "zevrin/Error.h"
#include "zevrin/InterfaceType.h"
#include "zevrin/PixelFormat.h"
#include "zevrin/TimeStamp.h"

namespace Zevrin {

class FrameQueue;

/// Who a camera is, as discovery tells it. Texts are as the device sent them: pass them through `Printable`
/// before they go into a message.
struct CameraIdentity {
    unsigned int serialNumber = 0;
    InterfaceType interfaceType = INTERFACE_UNKNOWN;
    std::string vendorName;
    std::string modelName;
    std::string firmwareVersion;
    std::string sensorInfo;
    std::string address;  ///< on its bus or network
    unsigned int iidcVersion = 0;
    unsigned int sensorWidth = 0;
    unsigned int sensorHeight = 0;
    bool isColor = false;
};

/// High part of the addresses of a camera's register space, and of a GenICam device's own memory.
constexpr unsigned short kRegisterSpace = 0xFFFF;
constexpr unsigned short kDeviceMemory = 0x0000;

/// Low addresses at which a camera's register space begins (IIDC: initial register space, command
/// registers). Found at discovery or when the camera is opened, never assumed.
struct RegisterBases {
    unsigned int initialRegisterSpace = 0;
    unsigned int commandRegisters = 0;
};

/// What one image of the stream takes, with the camera's present settings.
struct StreamFormat {
    unsigned int width = 0;   ///< pixels
    unsigned int height = 0;  ///< pixels
    PixelFormat pixelFormat = PIXEL_FORMAT_UNKNOWN;
    BayerTileFormat bayerFormat = BAYER_NONE;
    std::size_t payloadSize = 0;       ///< bytes that a frame buffer must hold
    unsigned int significantBits = 0;  ///< of a sample, at its low end; 0: not known
};

/// Packet counts of the transport, over the handle's life: they never fall.
struct StreamCounters {
    unsigned int resendPacketsRequested = 0;
    unsigned int resendPacketsReceived = 0;
};

/// A device event as the camera sent it.
struct RawDeviceEvent {
    std::string name;                    ///< one of `HardwareInterface::GetEventNames`
    unsigned int id = 0;                 ///< the transport's number of the event
    unsigned long long timeStampNs = 0;  ///< of the camera's own clock
    std::vector<unsigned char> data;     ///< what came with the event; often nothing
};

/// Who is told of a camera's events: one call at a time, in the order of the events.
///
/// A call comes on a thread of the transport, or on one whose register access has caused the event. The
/// transport may hold the lock that keeps the calls in order, and the clock of a simulation: a sink makes no
/// register access, and waits for no thread that does or that is in `SetEventSink`.
class EventSink {
  public:
    virtual ~EventSink() = default;
    /// Returns at once; the work is done on another thread.
    virtual void OnDeviceEvent(const RawDeviceEvent& event) = 0;
};

/// One camera as its transport reaches it; owned by the bus manager for as long as that lives, also
/// through the camera's absence.
///
/// Every operation may be called from any thread, at any time; one that needs the camera fails with
/// ERR_CAMERA_LOST while the camera is away and with ERR_NOT_CONNECTED before `Open`.
class HardwareInterface {
  public:
    virtual ~HardwareInterface() = default;

    /// The `InterfaceType`, as an integer.
    virtual int GetInterfaceType() const = 0;

    virtual CameraIdentity GetIdentity() const = 0;

    /// Takes control of the camera. Calls are counted: as many `Close` undo them. Opening a camera that
    /// was lost and has returned takes control of it again.
    /// Errors: ERR_CAMERA_LOST, ERR_ACCESS_DENIED (another program controls it), ERR_TRANSPORT_FAILED.
    virtual Error Open() = 0;
    virtual void Close() = 0;

    /// Valid after `Open`.
    virtual RegisterBases GetRegisterBases() const = 0;

    /// Reads or writes `count` quadlets at consecutive addresses, in host byte order. The address is a
    /// multiple of four and the run stays within 32 bits: `IOBase` has seen to it.
    /// @param broadcast  every camera of the bus is to take the write
    /// Errors: ERR_READ_REGISTER_FAILED, ERR_WRITE_REGISTER_FAILED (what was written before the failure
    /// stays written), ERR_TIMEOUT, ERR_NOT_SUPPORTED (no broadcast on this transport).
    virtual Error ReadQuadlets(unsigned short addressHigh, unsigned int addressLow, unsigned int* pValues,
                               unsigned int count) = 0;
    virtual Error WriteQuadlets(unsigned short addressHigh, unsigned int addressLow,
                                const unsigned int* pValues, unsigned int count, bool broadcast) = 0;

    /// The camera's present bus time.
    virtual Error GetBusTime(TimeStamp* pTimeStamp) = 0;

    /// Errors that the camera's port has counted.
    virtual Error GetPortErrors(unsigned int* pCount) = 0;

    virtual Error GetStreamFormat(StreamFormat* pFormat) = 0;

    /// Lets arriving frames fill the buffers of `pQueue` in place until `StopStream`. The transport shares
    /// the queue until then. Whether the camera sends is another matter: that is its transmission register.
    /// Errors: ERR_ISOCH_ALREADY_STARTED (by this or another object), ERR_ISOCH_START_FAILED.
    virtual Error StartStream(const ZevrinConfig& config, const boost::shared_ptr<FrameQueue>& pQueue) = 0;

    /// Whether it is this queue that the camera's stream fills, or filled until the camera was lost.
    virtual bool IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const = 0;

    /// When it returns, no thread of the transport touches this queue or its buffers any more, and the queue
    /// has no listener. Leaves a stream that fills another queue alone: after a loss, another user of the
    /// camera may have been quicker to start anew. May be called from within a callback that the stream
    /// causes.
    virtual void StopStream(const boost::shared_ptr<FrameQueue>& pQueue) = 0;

    virtual StreamCounters GetStreamCounters() const = 0;

    /// The events that the camera can send.
    /// Errors: ERR_NOT_SUPPORTED (no events on this transport), ERR_TRANSPORT_FAILED.
    virtual Error GetEventNames(std::vector<std::string>* pNames);

    /// From here on `pSink` is told of every event, also after `Close`, `Open` and an absence of the
    /// camera; null ends that, and when the call returns no delivery is under way. Not to be called from
    /// within one.
    /// Errors: ERR_NOT_SUPPORTED, ERR_EVENT_FAILED (another sink is there), ERR_TRANSPORT_FAILED; the sink
    /// is told of nothing then. Null always succeeds where events are supported.
    virtual Error SetEventSink(EventSink* pSink);

    /// Lets the camera send an event of this name, or not, for as long as there is a sink: a camera need not
    /// send what nobody has asked for. A transport that makes no difference reports success. Errors:
    /// ERR_NOT_SUPPORTED (its number is not known), the device's.
    virtual Error SetEventNotification(const std::string& name, bool on);
};

}  // namespace Zevrin
