#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/smart_ptr/weak_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <memory>
#include <vector>

#include "IOBase.h"
#include "zevrin/Callbacks.h"
#include "zevrin/Configuration.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

class CallbackThread;
class FrameQueue;
class Image;
struct Frame;
struct FrameCounters;

/// The camera's isochronous stream: its buffers, its start and stop, its callback, its counts.
///
/// Every frame that the camera sent is delivered, corrupt, dropped (lost on its way) or driver-dropped
/// (found no buffer, made room in the newest mode, or still waited when the stream stopped).
/// Threads: any. A callback may call any operation; it may not destroy the component.
class Iso : public IOBase {
  public:
    Iso();
    ~Iso() override;

    /// Whether a stream could be set up like this.
    /// Errors: ERR_VALUE_OUT_OF_RANGE.
    static Error CheckConfiguration(const ZevrinConfig& config);

    /// How a stream begins.
    struct Beginning {
        unsigned int gaps = 0;       ///< what the images tell: how often the stream was interrupted before
        bool isTransmitting = true;  ///< whether the camera is to send at once
    };

    /// Whether the stream that runs, if any, has the number of buffers and the grab mode of this
    /// configuration, which no running stream can change.
    /// Errors: ERR_ISOCH_ALREADY_STARTED (it has others).
    Error CheckAgainstStream(const ZevrinConfig& config) const;

    /// Sets up the buffers, lets the transport fill them, and switches the camera's transmission on, or off.
    /// What was done is undone when a later step fails. Waits for the callback of an earlier stream that
    /// stopped itself from within.
    /// @param callback  null: the one that `SetCallback` installed, if any
    /// Errors: ERR_ISOCH_ALREADY_STARTED, ERR_NOT_CONNECTED, ERR_VALUE_OUT_OF_RANGE (a setting),
    /// ERR_ISOCH_BUFFERS_FAILED (the caller's buffers are too small or too few), ERR_OUT_OF_MEMORY, the
    /// transport's.
    Error StartCapture(const ZevrinConfig& config, ImageCallback callback, const void* pCallbackData,
                       const Beginning& beginning);
    Error StartCapture(const ZevrinConfig& config, ImageCallback callback, const void* pCallbackData) {
        return StartCapture(config, callback, pCallbackData, Beginning());
    }

    /// Stops everything even when the camera does not answer any more, which is then reported.
    /// Errors: ERR_ISOCH_NOT_STARTED, ERR_ISOCH_STOP_FAILED.
    Error StopCapture();

    /// Stops whatever runs and waits until no callback does, refusing new starts meanwhile: the camera is
    /// being given up. From within a callback, that one is not waited for.
    /// @param reason  told to who waits for an image and, until the next start, to who asks for one; success:
    ///                that there is no stream
    /// @return whether a stream ran until then
    bool StopForGood(const Error& reason = Error());

    bool IsGrabStarted() const { return m_state == State::kStarted; }

    /// Waits for the next image for as long as the configuration says. What the image held is released
    /// first.
    /// Errors: ERR_INVALID_PARAMETER, ERR_ISOCH_NOT_STARTED (before or during the wait), ERR_TIMEOUT,
    /// ERR_CAMERA_LOST.
    Error RetrieveBuffer(Image* pImage);

    /// The same, waiting at most `timeoutMs` milliseconds.
    Error WaitForBufferEvent(Image* pImage, unsigned int timeoutMs);

    /// Of all streams that are started from here on. While a stream runs, of that one alone and from its next
    /// image on: the next stream begins with what was installed before this one. Null ends the calls; a
    /// running one is waited for, unless this is called from within it.
    /// Errors: ERR_ISOCH_START_FAILED (a thread is needed and the system refuses it).
    Error SetCallback(ImageCallback callback, const void* pCallbackData);

    /// What images are given to.
    struct Receiver {
        ImageCallback callback = nullptr;
        const void* pData = nullptr;
    };

    /// With what a stream was started, its callback as it is now.
    struct StreamStart {
        ZevrinConfig config;
        Receiver receiver;
        unsigned int gaps = 0;
    };

    /// Of the running stream, for who interrupts it and resumes it later; false when nothing runs.
    bool GetStreamStart(StreamStart* pStart) const;

    /// Lets the next streams use the caller's memory; null goes back to the component's own. A stream never
    /// has more buffers than it is configured for: the synchronized start relies on that.
    /// @param pMemory      `bufferSize` times `bufferCount` bytes that outlive every image of the stream
    /// @param bufferSize   bytes of one buffer, at least the size of an image
    /// @param bufferCount  of which as many are used as the configuration says, or all when these are fewer
    /// Errors: ERR_ISOCH_ALREADY_STARTED, ERR_VALUE_OUT_OF_RANGE.
    Error SetUserBuffers(unsigned char* pMemory, int bufferSize, int bufferCount);

    /// The colour filter order of the present image format.
    /// Errors: ERR_NOT_CONNECTED, ERR_INVALID_PARAMETER, the transport's.
    Error GetBayerFormat(BayerTileFormat* pFormat);

    /// Tells which items the camera stamps into the images that are retrieved from here on: the embedded
    /// information register's value. A start asks the camera itself.
    /// Errors: none.
    Error CacheEmbeddedImageInfo(unsigned int registerValue);

    unsigned int GetNumOfImageCorrupt() const;
    unsigned int GetNumOfImageDriverDropped() const;
    unsigned int GetNumOfImageDropped() const;
    unsigned int GetNumOfImageDelivered() const;
    unsigned int GetNumResendPacketsReceived() const;
    unsigned int GetNumResendPacketsRequested() const;
    void ResetNumOfImageCorrupt();
    void ResetNumOfImageDriverDropped();
    void ResetNumOfImageDropped();
    Error ResetNumResendPacketsReceived();
    Error ResetNumResendPacketsRequested();

  private:
    friend class CallbackThread;

    enum class State { kStopped, kStarting, kStarted, kStopping };

    struct UserBuffers {
        unsigned char* pMemory = nullptr;
        std::size_t size = 0;
        unsigned int count = 0;
    };

    class Transition;

    Error MakeQueue(const ZevrinConfig& config, const StreamFormat& format,
                    boost::shared_ptr<FrameQueue>* ppQueue);
    Error StartStream(const ZevrinConfig& config, ImageCallback callback, const void* pCallbackData,
                      const Beginning& beginning, Transition* pTransition);
    Error BeginStream(const ZevrinConfig& config, const boost::shared_ptr<HardwareInterface>& pHardware,
                      const boost::shared_ptr<FrameQueue>& pQueue, ImageCallback callback,
                      const void* pCallbackData, bool isTransmitting, Transition* pTransition);
    Error EndStream(HardwareInterface* pHardware, const boost::shared_ptr<FrameQueue>& pQueue);
    Error StartCallbackThread(const Receiver& receiver);
    void StopCallbackThread();
    void ReapCallbackThreads();
    Error GetQueue(boost::shared_ptr<FrameQueue>* ppQueue) const;
    Error Retrieve(Image* pImage, int timeoutMs);
    Error RetrieveFrom(const boost::shared_ptr<FrameQueue>& pQueue, Image* pImage, int timeoutMs,
                       const std::atomic<bool>* pCancelled);
    void LearnEmbeddedInfo();
    void ReadEmbeddedInfo(Frame* pFrame) const;
    static StreamCounters AddResends(const StreamCounters& total, const StreamCounters& from,
                                     const StreamCounters& to);
    StreamCounters CountResends() const;

    const boost::shared_ptr<FrameCounters> m_pCounters;
    std::atomic<unsigned int> m_embeddedInfo{0};
    std::atomic<int> m_defaultTimeoutMs;

    mutable boost::mutex m_mutex;  // guards changes of m_state, and what follows
    boost::condition_variable m_stateChanged;
    std::atomic<State> m_state{State::kStopped};
    int m_closing = 0;  // calls of StopForGood under way
    boost::shared_ptr<FrameQueue> m_pQueue;
    Error m_interruption;                                  // why there is none, unless it was stopped
    boost::weak_ptr<HardwareInterface> m_pStreamHardware;  // not to hold a camera that was released
    StreamCounters m_resends;      // of streams that have ended, less what was reset (modulo 2 to the 32)
    StreamCounters m_resendsBase;  // of that hardware, when the stream began
    UserBuffers m_userBuffers;
    Receiver m_receiver;          // of streams that are started without one
    Receiver m_streamReceiver;    // of the running stream
    ZevrinConfig m_streamConfig;  // likewise
    std::unique_ptr<CallbackThread> m_pCallbackThread;
    std::vector<std::unique_ptr<CallbackThread>> m_endedCallbackThreads;  // stopped from within; to be joined
};

}  // namespace Zevrin
