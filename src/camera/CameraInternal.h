#pragma once

#include <array>
#include <boost/smart_ptr/shared_array.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <vector>

#include "zevrin/Callbacks.h"
#include "zevrin/CameraInfo.h"
#include "zevrin/CameraStats.h"
#include "zevrin/Configuration.h"
#include "zevrin/DeviceEvent.h"
#include "zevrin/EmbeddedImageInfo.h"
#include "zevrin/Error.h"
#include "zevrin/Export.h"
#include "zevrin/LookUpTable.h"
#include "zevrin/PixelFormat.h"
#include "zevrin/Property.h"
#include "zevrin/Strobe.h"
#include "zevrin/TimeStamp.h"
#include "zevrin/Trigger.h"

namespace Zevrin {

class DcamFormat;
class EventList;
class Format7;
class HardwareInterface;
class Image;
class Info;
class IOBase;
class Iso;
class Lut;
class MemoryChannel;
class PropertyManager;
class Strobe;
class Trigger;

/// One physical camera: the single place through which everything done to it passes.
///
/// Every operation returns an `Error`. Unless it says otherwise it is guarded: it fails with
/// ERR_INVALID_GENERATION when the camera's bus has changed since the connection was made, and with
/// ERR_NOT_CONNECTED when there is no connection; then nothing else happens. "The guard's" in a list of
/// errors stands for these two. A component's failure keeps its type and text and becomes the cause of
/// the error returned.
///
/// Threads: any operation from any thread, unless it says otherwise. Connecting and disconnecting must
/// not run beside other operations on the same object. The guard is a check at the start of the call: the
/// camera can still go away while the operation runs, which then fails in the transport.
class ZEVRIN_API CameraInternal {
  public:
    /// Throws boost::thread_resource_error when the system refuses a mutex.
    CameraInternal();
    virtual ~CameraInternal();
    CameraInternal(const CameraInternal&) = delete;
    CameraInternal& operator=(const CameraInternal&) = delete;

    /// Connects to the camera with this serial number. Errors and threads: the concrete camera's.
    virtual Error Connect(unsigned int serialNumber) = 0;
    /// Gives the camera up. Errors and threads: the concrete camera's.
    virtual Error Disconnect() = 0;
    /// Starts the stream as configured. Errors: the guard's, the concrete camera's.
    virtual Error StartCapture(ImageCallback callback, const void* pCallbackData) = 0;

    /// How the camera streams. Not guarded.
    /// Errors: ERR_NOT_IMPLEMENTED from this class; concrete cameras keep a configuration.
    virtual Error GetConfiguration(ZevrinConfig* pConfig);
    /// How the next streams are set up. Not guarded. Errors: as above.
    virtual Error SetConfiguration(const ZevrinConfig* pConfig);

    // Connection and guard.

    /// Takes no lock.
    bool IsConnected() const { return m_bConnected; }

    /// The bus generation under which the object was connected; 0xFFFFFFFF before the first time.
    unsigned int GetGeneration() const;
    /// For concrete cameras, when they connect.
    void SetGeneration(unsigned int generation);

    /// Whether the camera's bus generation is still the remembered one.
    bool CheckGeneration() const;

    /// The guard: the generation first, then the connection.
    /// Errors: ERR_INVALID_GENERATION, ERR_NOT_CONNECTED.
    Error CheckValidity() const;

    /// Hands the camera's handle to all components. For concrete cameras; not guarded.
    /// @param initialRegisterSpace  low address of the camera's initial register space
    /// @param commandRegisters      low address of its command registers
    /// Errors: none.
    Error SetAllIO(boost::shared_ptr<HardwareInterface> pHardware, unsigned int initialRegisterSpace,
                   unsigned int commandRegisters);
    /// Withdraws the handle. For concrete cameras; not guarded. Errors: none.
    Error ReleaseAllIO();

    // Registers: 32-bit words at byte addresses that are multiples of four.

    /// Reads one; the address counts from the camera's command registers.
    /// Errors: the guard's, ERR_INVALID_ADDRESS, ERR_INVALID_PARAMETER, ERR_READ_REGISTER_FAILED,
    /// ERR_TIMEOUT, ERR_CAMERA_LOST.
    Error ReadRegister(unsigned int address, unsigned int* pValue);
    /// Writes one; the address counts from the camera's command registers.
    /// @param broadcast  every camera of the bus takes the write, on transports that can
    /// Errors: the guard's, ERR_INVALID_ADDRESS, ERR_WRITE_REGISTER_FAILED, ERR_TIMEOUT, ERR_CAMERA_LOST,
    /// ERR_NOT_SUPPORTED (broadcast).
    Error WriteRegister(unsigned int address, unsigned int value, bool broadcast = false);

    /// Reads one; the address counts from the camera's initial register space. Errors: as above.
    Error ReadBaseRegister(unsigned int address, unsigned int* pValue);
    /// Writes one; the address counts from the camera's initial register space. Errors: as above.
    Error WriteBaseRegister(unsigned int address, unsigned int value);

    /// Reads a run of registers at whole addresses: the 16 high bits (0xFFFF the register space, 0x0000 the
    /// own memory of a GenICam device) and the 32 low bits.
    /// @param length  quadlets, at least 1
    /// Errors: as above.
    Error ReadRegisterBlock(unsigned short addressHigh, unsigned int addressLow, unsigned int* pBuffer,
                            unsigned int length);
    /// Writes a run. Errors: as above; a write that fails may have written its beginning.
    Error WriteRegisterBlock(unsigned short addressHigh, unsigned int addressLow, const unsigned int* pBuffer,
                             unsigned int length);

    // Properties. The component's own error is returned as it is.

    /// What the camera can do with the property that `pInfo->type` chooses, with its range and unit.
    /// Errors: the guard's, ERR_INVALID_PARAMETER, the register access's.
    Error GetPropertyInfo(PropertyInfo* pInfo);

    /// The setting of the property that `pProperty->type` chooses. Errors: as above.
    Error GetProperty(Property* pProperty);

    /// Sets it as far as the record says. `onePush` begins one automatic adjustment.
    /// @param broadcast  every camera of the bus takes the write, on transports that can
    /// Errors: as above; ERR_FEATURE_ABSENT, ERR_FEATURE_READ_ONLY, ERR_VALUE_OUT_OF_RANGE, ERR_NOT_SUPPORTED
    /// (a mode that the property lacks, or broadcast).
    Error SetProperty(const Property* pProperty, bool broadcast = false);

    // Trigger.

    /// What the camera's trigger can do. Errors: the guard's, ERR_INVALID_PARAMETER, the register access's.
    Error GetTriggerModeInfo(TriggerModeInfo* pInfo);

    /// How exposure is triggered. Errors: as above; ERR_FEATURE_ABSENT.
    Error GetTriggerMode(TriggerMode* pMode);

    /// Sets how exposure is triggered.
    /// Errors: as above; ERR_INVALID_MODE (source or mode), ERR_VALUE_OUT_OF_RANGE, ERR_NOT_SUPPORTED (what
    /// the trigger lacks, or broadcast).
    Error SetTriggerMode(const TriggerMode* pMode, bool broadcast = false);

    /// One exposure, when the trigger is on and listens to the software.
    /// Errors: the guard's, ERR_FEATURE_ABSENT, ERR_TRIGGER_FAILED (it is off, listens to an input, or is in
    /// mode 1, which has no single exposures), ERR_NOT_SUPPORTED (broadcast), the register access's.
    Error FireSoftwareTrigger(bool broadcast = false);

    /// What the trigger delay can do, as `GetPropertyInfo` of TRIGGER_DELAY, which is written into the
    /// record. Errors: those of `GetPropertyInfo`.
    Error GetTriggerDelayInfo(PropertyInfo* pInfo);

    /// The trigger delay, as `GetProperty` of TRIGGER_DELAY, which is written into the record.
    /// Errors: those of `GetProperty`.
    Error GetTriggerDelay(Property* pDelay);

    /// Sets it. The record's type is ignored, and the record left alone. Errors: those of `SetProperty`.
    Error SetTriggerDelay(const Property* pDelay, bool broadcast = false);

    // Strobe.

    /// What the strobe output that `source` of the record chooses can do.
    /// Errors: the guard's, ERR_INVALID_PARAMETER, ERR_VALUE_OUT_OF_RANGE (no such output), the register
    /// access's.
    Error GetStrobeInfo(StrobeInfo* pInfo);

    /// Its setting; delay and duration in milliseconds. Errors: as above; ERR_FEATURE_ABSENT.
    Error GetStrobe(StrobeControl* pControl);

    /// Sets it. Errors: as above; ERR_NOT_SUPPORTED (what the output lacks, or broadcast).
    Error SetStrobe(const StrobeControl* pControl, bool broadcast = false);

    // Look-up tables. All of them but the first fail with ERR_FEATURE_ABSENT where there is none, and with
    // ERR_LUT_FAILED where the camera describes one that makes no sense.

    /// What the look-up table is. Errors: the guard's, ERR_INVALID_PARAMETER, the register access's.
    Error GetLUTInfo(LUTData* pData);

    /// Whether a bank can be read and written. Errors: as above; ERR_VALUE_OUT_OF_RANGE (no such bank).
    Error GetLUTBankInfo(unsigned int bank, bool* pReadable, bool* pWritable);

    /// The bank that pixels pass through. Errors: as of `GetLUTInfo`.
    Error GetActiveLUTBank(unsigned int* pBank);

    /// Chooses it. Errors: as of `GetLUTBankInfo`.
    Error SetActiveLUTBank(unsigned int bank);

    /// Switches the table on or off. Errors: as of `GetLUTInfo`; ERR_NOT_SUPPORTED (it cannot be switched).
    Error EnableLUT(bool on);

    /// The entries of one channel of a bank.
    /// @param numEntries  length of the array: the entries of one channel, as `LUTData::numEntries` says
    /// Errors: as of `GetLUTBankInfo`; ERR_VALUE_OUT_OF_RANGE also for channel and length, ERR_ACCESS_DENIED
    /// (the bank cannot be read).
    Error GetLUTChannel(unsigned int bank, unsigned int channel, unsigned int numEntries,
                        unsigned int* pEntries);

    /// Sets them. Errors: as above, also for an entry that has too many bits; ERR_ACCESS_DENIED (the bank
    /// cannot be written).
    Error SetLUTChannel(unsigned int bank, unsigned int channel, unsigned int numEntries,
                        const unsigned int* pEntries);

    // Memory channels: settings kept in the camera. Channel 0 holds the factory's.

    /// The channel that was restored last. Errors: the guard's, ERR_INVALID_PARAMETER, the register access's.
    Error GetMemoryChannel(unsigned int* pChannel);

    /// Keeps the present settings in a channel, 1 to the highest.
    /// Errors: the guard's, ERR_FEATURE_ABSENT, ERR_VALUE_OUT_OF_RANGE, ERR_MEMORY_CHANNEL_FAILED.
    Error SaveToMemoryChannel(unsigned int channel);

    /// Brings back the settings of a channel; 0: the factory's. Errors: the guard's, ERR_VALUE_OUT_OF_RANGE,
    /// ERR_MEMORY_CHANNEL_FAILED (cameras do not while they transmit), the register access's.
    Error RestoreFromMemoryChannel(unsigned int channel);

    /// The highest channel that can be saved to; 0: there is none. Errors: as of `GetMemoryChannel`.
    Error GetMemoryChannelInfo(unsigned int* pHighestChannel);

    // Streaming.

    /// The order of the colour filters. Not guarded; the component's own error is returned as it is.
    Error GetBayerFormat(BayerTileFormat* pFormat);

    /// Waits for the next image, as long as the configuration says. What the image held is released first.
    /// Errors: the guard's, ERR_INVALID_PARAMETER, ERR_ISOCH_NOT_STARTED, ERR_TIMEOUT, ERR_CAMERA_LOST.
    /// Threads: any; another thread may stop the stream meanwhile, which ends the wait.
    Error RetrieveBuffer(Image* pImage);

    /// The same, waiting at most `timeoutMs` milliseconds.
    Error WaitForBufferEvent(Image* pImage, unsigned int timeoutMs);

    /// Installs the callback of the next streams; null takes it away.
    /// Errors: the guard's, ERR_ISOCH_ALREADY_STARTED (the old callback stays), ERR_FAILED.
    Error SetCallback(ImageCallback callback, const void* pCallbackData);

    /// Stops the stream. Images that were retrieved stay readable.
    /// Errors: the guard's, ERR_ISOCH_NOT_STARTED, ERR_ISOCH_STOP_FAILED.
    /// Threads: any, a callback of the stream included.
    Error StopCapture();

    /// Lets the next streams fill the caller's memory; null goes back to the stream's own.
    /// @param pMemory      `bufferSize` times `bufferCount` bytes that outlive every image of the stream
    /// @param bufferSize   bytes of one buffer, at least one image
    /// @param bufferCount  1 to 4096; as many are used as are configured, or all when these are fewer
    /// Errors: the guard's, ERR_FAILED (a stream runs, or a number is out of range).
    Error SetUserBuffers(unsigned char* pMemory, int bufferSize, int bufferCount);

    // Several cameras in step.

    /// The most cameras that can be started together.
    static constexpr unsigned int kMaxSyncCameras = 64;

    /// Starts cameras of one bus so that they take their images in step, and proves it: the bus time of each
    /// camera's first image must lie within 5 bus cycles (625 µs) of that of the first camera's, also across
    /// the wrap of the cycle clock. Takes 550 ms and the time of eleven images or more.
    ///
    /// Every camera gets a configuration of ten buffers in order and the time stamp in its images, and keeps
    /// both. A camera that streams already counts as started, provided that its stream has ten buffers in
    /// order: an IIDC camera refuses the configuration else. It must not have a callback, which would take
    /// the images that are awaited here; `SetCallback` beforehand has the same effect. The stamps prove
    /// something only when cameras answer and can stamp: images that did not come and images without a stamp
    /// all count as taken at 0 and pass.
    /// @param numCameras    0 to 64
    /// @param cameras       at least as many, none null; only the first `numCameras` are used
    /// @param callbacks     null, or one for each camera: installed when all are in step, until its stream
    /// ends
    /// @param callbackData  null, or one for each camera
    /// Errors: ERR_INVALID_PARAMETER (numbers; nothing was touched), ERR_INTERFACE_NOT_FOUND,
    /// ERR_NOT_SUPPORTED (GigE cameras), ERR_ISOCH_FAILED (preparation), ERR_ISOCH_START_FAILED (cameras
    /// before the failing one keep streaming), ERR_TIMESTAMP_FAILED (the last camera's transmission could not
    /// be switched off), ERR_ISOCH_SYNC_FAILED (all are stopped). Throws boost::thread_resource_error when
    /// the system refuses a grab thread, and boost::thread_interrupted when the calling thread is
    /// interrupted: all cameras stream then, and are to be stopped. Threads: any; two starts at once must not
    /// share a camera. Blocks until every camera has sent an image or failed eleven retrievals.
    static Error StartSyncCapture(unsigned int numCameras,
                                  std::vector<boost::shared_ptr<CameraInternal>> cameras,
                                  void (*const* callbacks)(Image*, const void*), const void** callbackData);

    /// One camera's part of the above, on a thread of its own: retrieves an image into `images[index]`, at
    /// most eleven times.
    /// Errors: those of the last `RetrieveBuffer`.
    static Error StartSyncCaptureImageHelper(std::vector<boost::shared_ptr<CameraInternal>>& cameras,
                                             unsigned int index, boost::shared_array<Image>& images);

    // Items stamped into images.

    /// Which items the camera supports and which are on. All are switched on for a moment to find out; when
    /// reading that back fails, they stay on.
    /// Errors: the guard's, ERR_INVALID_PARAMETER, those of `ReadRegister` and `WriteRegister`; `onOff` may
    /// be filled in then. Threads: any; a change by another thread meanwhile can be lost.
    Error GetEmbeddedImageInfo(EmbeddedImageInfo* pInfo);

    /// Switches the items on and off as `onOff` says; `available` is not looked at, and what the camera does
    /// not support does not stick.
    /// Errors: the guard's, ERR_INVALID_PARAMETER, those of `ReadRegister` and `WriteRegister`, ERR_FAILED.
    /// Threads: as above.
    Error SetEmbeddedImageInfo(EmbeddedImageInfo* pInfo);

    // Statistics and bus time.

    /// Counters and readings of the camera and of this object.
    /// Errors: the guard's, ERR_INVALID_PARAMETER, ERR_REGISTER_FAILED (transmit failure or power register;
    /// what precedes it in the record is filled in). Everything else that fails is a zero in the record.
    Error GetStats(CameraStats* pStats);

    /// Zeroes the counters, those of this object first.
    /// Errors: the guard's, ERR_REGISTER_FAILED (the camera's own counter stays).
    Error ResetStats();

    /// The camera's bus time. Not guarded.
    /// Errors: ERR_NOT_CONNECTED, the transport's.
    Error GetCycleTime(TimeStamp* pTimeStamp);

    /// Reads a table of numbers that two registers describe: presence and number of entries, and where it is.
    /// @param pValues  room for as many entries as the camera can report: up to 4095
    /// @param pCount   entries stored, also after a failure
    /// Errors: those of `ReadRegister`, as they are.
    Error ReadRegValues(unsigned int infoRegister, unsigned int offsetRegister, float* pValues,
                        unsigned int* pCount);

    /// The number whose IEEE-754 single-precision pattern this is; 99999.0 and -99999.0 stand for the
    /// infinities and 99999.0 for every NaN; a zero of either sign is +0.0.
    static double Convert32bitIEEEToFloat(unsigned int raw);

    // General-purpose pins.

    /// @param pin         0 to 31, counted from the most significant bit
    /// @param pDirection  gets 0 or 1; not null
    /// Errors: the guard's, ERR_INVALID_PARAMETER, ERR_READ_REGISTER_FAILED.
    Error GetGPIOPinDirection(unsigned int pin, unsigned int* pDirection);

    /// Sets one pin's direction by read-modify-write; the other pins keep theirs.
    /// @param direction  0 or 1
    /// Errors: the guard's, ERR_INVALID_PARAMETER, ERR_READ_REGISTER_FAILED, ERR_WRITE_REGISTER_FAILED
    /// (nothing written). Threads: any; two concurrent changes of one camera's pins can lose one of them.
    Error SetGPIOPinDirection(unsigned int pin, unsigned int direction, bool broadcast = false);

    // Identity.

    /// Who the camera is and what it has.
    /// Errors: ERR_INVALID_PARAMETER (tested first), the guard's, the components'.
    Error GetCameraInfo(CameraInfo* pInfo);

    // Device events. Not guarded: they need only that the bus manager knows the camera.

    /// Whether the camera's interface has events: GigE Vision and USB3 Vision do.
    bool InterfaceSupportsEvents();

    /// Lets the callback of the options be called with each event of the name.
    /// Errors, of the four: ERR_NOT_IMPLEMENTED (no events on this interface), ERR_FAILED.
    Error RegisterEvent(EventOptions* pOptions);
    /// Ends that. Waits for a running callback, unless it is called from within it.
    Error DeregisterEvent(EventOptions* pOptions);
    /// The same for every event that the camera has.
    Error RegisterAllEvents(EventOptions* pOptions);
    /// Ends all of it. Waits as above.
    Error DeregisterAllEvents();

    // What follows is for concrete cameras.
    /// @cond
  protected:
    bool m_bConnected = false;
    unsigned int m_serialNumber = 0;
    mutable boost::mutex m_generationMutex;  // guards m_generation
    unsigned int m_generation = 0xFFFFFFFFU;

    // For concrete cameras: where the camera's register spaces begin, and who it is.
    unsigned int m_initialRegisterSpace = 0;
    unsigned int m_commandRegisters = 0;
    CameraInfo m_cameraInfo;

    // Never empty between construction and destruction; an empty one ends the process at its next use.
    boost::shared_ptr<IOBase> m_pIOBase;
    boost::shared_ptr<PropertyManager> m_pPropertyManager;
    boost::shared_ptr<Format7> m_pFormat7;
    boost::shared_ptr<Trigger> m_pTrigger;
    boost::shared_ptr<Strobe> m_pStrobe;
    boost::shared_ptr<DcamFormat> m_pDcamFormat;
    boost::shared_ptr<Iso> m_pIso;
    boost::shared_ptr<Info> m_pInfo;
    boost::shared_ptr<Lut> m_pLut;
    boost::shared_ptr<MemoryChannel> m_pMemoryChannel;
    boost::shared_ptr<EventList> m_pEventList;

  private:
    class SyncStart;

    static constexpr std::size_t kComponentCount = 11;

    std::array<boost::shared_ptr<IOBase>, kComponentCount> StatisticsOrder() const;
    void GatherReadings(CameraStats* pStats);
    Error ReadRegValuesUpTo(unsigned int limit, unsigned int infoRegister, unsigned int offsetRegister,
                            float* pValues, unsigned int* pCount);
    /// @endcond
};

}  // namespace Zevrin
