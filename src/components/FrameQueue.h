#pragma once

#include <atomic>
#include <boost/circular_buffer.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "zevrin/ByteRange.h"
#include "zevrin/Configuration.h"
#include "zevrin/Error.h"
#include "zevrin/PixelFormat.h"
#include "zevrin/TimeStamp.h"

namespace Zevrin {

/// What is known of one received frame.
struct FrameInfo {
    unsigned int width = 0;   ///< pixels
    unsigned int height = 0;  ///< pixels
    unsigned int stride = 0;  ///< bytes from one row to the next; 0: rows follow each other to the bit
    PixelFormat pixelFormat = PIXEL_FORMAT_UNKNOWN;
    BayerTileFormat bayerFormat = BAYER_NONE;
    unsigned int significantBits = 0;  ///< of a sample, at its low end; 0: not known
    bool isBigEndian = true;           ///< of samples wider than a byte
    unsigned long long frameId = 0;    ///< the camera's own count
    std::size_t receivedSize = 0;      ///< bytes valid from the start of the buffer
    unsigned int gaps = 0;             ///< interruptions of the stream before this frame; the queue says it
    bool isComplete = true;
    std::vector<ByteRange> missing;  ///< of an incomplete frame, what is black within `receivedSize`
    bool hasTimeStamp = false;       ///< the transport delivered `timeStamp` beside the pixels
    TimeStamp timeStamp;
};

/// One buffer of a stream and the frame in it.
struct Frame {
    unsigned char* data = nullptr;
    std::size_t capacity = 0;
    std::size_t index = 0;  ///< position among the stream's buffers
    FrameInfo info;
};

/// What has become of the frames that a camera sent. Every frame ends in exactly one of the four.
struct FrameCounters {
    std::atomic<unsigned int> delivered{0};  ///< handed to the application
    std::atomic<unsigned int> corrupt{0};    ///< arrived incomplete
    std::atomic<unsigned int> dropped{0};    ///< never arrived
    std::atomic<unsigned int> driverDropped{
        0};  ///< found no buffer, made room, or waited in vain for the end
};

/// The buffers of one stream, on their way round: free, being filled by the transport, waiting for the
/// application, held by an `Image`, free again. The one place that decides which frame is dropped.
///
/// Shared by the stream, the transport and every image that holds a buffer, so that an image outlives its
/// stream. Nothing is copied.
/// Threads: any.
class FrameQueue {
  public:
    /// @param memory    `bufferCount` times `bufferSize` bytes that outlive the queue, or null: the queue
    ///                  has its own
    /// @param counters  survives the queue and is shared with the next one
    /// Throws std::bad_alloc.
    FrameQueue(unsigned int bufferCount, std::size_t bufferSize, GrabMode mode, bool deliverIncomplete,
               unsigned char* memory, boost::shared_ptr<FrameCounters> counters);
    FrameQueue(const FrameQueue&) = delete;
    FrameQueue& operator=(const FrameQueue&) = delete;

    /// How often the stream was interrupted before. Before the transport has the queue.
    void SetGaps(unsigned int gaps) { m_gaps = gaps; }
    unsigned int GetGaps() const { return m_gaps; }

    // The transport's side.

    /// A buffer to fill, with a fresh `info`. When none is free, in the newest mode, the oldest waiting frame
    /// makes room (and is counted) if more than `keepWaiting` frames wait. Null when there is none, which
    /// counts nothing: `CountDriverDropped` when that loses a frame.
    Frame* BeginFill(std::size_t keepWaiting = 0);

    /// The frame is there: `pFrame->info` says what arrived, which is no more than the buffer holds. A
    /// complete one waits for the application.
    void EndFill(Frame* pFrame);

    /// Takes a buffer back that was not filled, without counting a frame.
    void AbandonFill(Frame* pFrame);

    void CountDropped(unsigned int frames) { m_pCounters->dropped += frames; }
    void CountDriverDropped(unsigned int frames) { m_pCounters->driverDropped += frames; }

    /// Called whenever a buffer has become free, on the thread that freed it, one call at a time. Null ends
    /// that; no call is under way when this returns (unless it is called from within one). The transport
    /// holds no lock that the listener takes while it calls the queue.
    void SetFreeListener(std::function<void()> listener);

    /// The stream is broken: whoever waits gets `reason`, now and from now on, once what waits is gone, also
    /// when the stream is ended because of that.
    void Fail(const Error& reason);

    std::size_t GetBufferCount() const { return m_frames.size(); }
    std::size_t GetBufferSize() const { return m_bufferSize; }
    Frame* GetBuffer(std::size_t index) { return &m_frames[index]; }

    // The application's side.

    /// Waits for the oldest waiting frame and gives it out.
    /// @param timeoutMs   milliseconds, or `kTimeoutInfinite`
    /// @param pCancelled  ends the wait when it is true after `WakeAll`; may be null
    /// Errors: ERR_TIMEOUT, ERR_ISOCH_NOT_STARTED (closed), or the reason given to `Fail`.
    Error Retrieve(Frame** ppFrame, int timeoutMs, const std::atomic<bool>* pCancelled = nullptr);

    /// Puts a frame given out by `Retrieve` back into circulation.
    void Release(Frame* pFrame);

    void WakeAll();

    /// The stream has ended: waiting frames are counted as driver-dropped, retrievals fail from here on.
    /// Debug builds end the process when a frame that arrived was counted twice or not at all, or a buffer is
    /// missing.
    void Close();

  private:
    void CountUnclaimed(const Frame& frame);
    void CheckAccounts() const;
    void ReturnToFree(Frame* pFrame);
    void NotifyFree();

    const std::size_t m_bufferSize;
    const GrabMode m_mode;
    const bool m_deliverIncomplete;
    const boost::shared_ptr<FrameCounters> m_pCounters;
    unsigned int m_gaps = 0;
    std::unique_ptr<unsigned char[]> m_ownMemory;
    std::vector<Frame> m_frames;

    boost::mutex m_mutex;  // guards what follows
    boost::condition_variable m_changed;
    std::vector<Frame*> m_free;
    boost::circular_buffer<Frame*> m_waiting;
    std::size_t m_given = 0;           ///< buffers that the transport fills or an image holds
    unsigned long long m_arrived = 0;  ///< frames that were filled in
    unsigned long long m_settled = 0;  ///< of these, those that have been counted as what became of them
    bool m_closed = false;
    Error m_failure;

    boost::recursive_mutex m_listenerMutex;  // held while the listener runs; guards it
    boost::shared_ptr<const std::function<void()>> m_pFreeListener;
};

}  // namespace Zevrin
