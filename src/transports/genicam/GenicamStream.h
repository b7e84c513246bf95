#pragma once

#include <arv.h>

#include <boost/smart_ptr/enable_shared_from_this.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <vector>

#include "BufferMarks.h"
#include "FrameIds.h"
#include "FrameQueue.h"
#include "GObjectHandle.h"
#include "HardwareInterface.h"
#include "Worker.h"
#include "zevrin/Configuration.h"
#include "zevrin/Error.h"

namespace Zevrin {

class GenicamDevice;

/// One stream of a device into the buffers of a queue.
///
/// Each buffer of the queue has an ArvBuffer made over its memory, so that Aravis puts packets where the
/// application reads pixels. A buffer is free, in Aravis' hands, waiting, or held by an image; here it is
/// handed to Aravis whenever it is free, and taken back filled.
class GenicamStream : public boost::enable_shared_from_this<GenicamStream> {
  public:
    /// Errors: ERR_ISOCH_BUFFERS_FAILED, ERR_ISOCH_START_FAILED, ERR_VALUE_OUT_OF_RANGE (packet settings),
    /// ERR_CAMERA_LOST.
    static Error Start(const boost::shared_ptr<GenicamDevice>& pDevice, const ZevrinConfig& config,
                       const boost::shared_ptr<FrameQueue>& pQueue,
                       boost::shared_ptr<GenicamStream>* ppStream);

    GenicamStream(boost::shared_ptr<GenicamDevice> pDevice, boost::shared_ptr<FrameQueue> pQueue,
                  const StreamFormat& format, bool deliverIncomplete);
    ~GenicamStream() { Stop(); }
    GenicamStream(const GenicamStream&) = delete;
    GenicamStream& operator=(const GenicamStream&) = delete;

    /// Whoever waits for an image gets `reason`, unless the stream is being stopped.
    void Fail(const Error& reason);

    /// When it returns, nothing touches the queue and its memory any more. Of a lost device nothing but an
    /// access that is still under way is waited for. A second call waits for the first.
    void Stop();

    /// The device is lost: ends what can be ended without waiting. `Stop` is still to be called.
    void BeginStop();

    /// The camera is about to begin anew, and may count its frames anew.
    void ExpectRestart();

    bool Fills(const boost::shared_ptr<FrameQueue>& pQueue) const { return m_pQueue == pQueue; }
    GenicamDevice* GetDevice() const { return m_pDevice.get(); }
    StreamCounters GetCounters() const;

  private:
    void NoticeThreadEnd();
    static void OnStreamEvent(void* pData, ArvStreamCallbackType type, ArvBuffer* pBuffer) noexcept;
    Error Create(const ZevrinConfig& config);
    void OnBufferDone();
    void Supply();
    void HandOverFreeFrames();
    Frame* TakeFreeFrame();
    void HandOver(Frame* pFrame);
    void CountMissed(unsigned int frames);
    void Conclude(ArvBuffer* pBuffer, Frame* pFrame);

    const boost::shared_ptr<GenicamDevice> m_pDevice;
    const boost::shared_ptr<FrameQueue> m_pQueue;
    const StreamFormat m_format;
    const bool m_deliverIncomplete;
    std::vector<GObjectHandle<ArvBuffer>> m_buffers;  // by index of the frame; set by Create

    // Of buffers, where incomplete frames are wanted, by neither a receiving thread nor the application's.
    Worker m_marking;
    const BufferMarks m_marks;

    boost::mutex m_stopMutex;  // one stop at a time

    mutable boost::mutex m_mutex;    // guards what follows; never held while the queue may call back
    ArvStream* m_pStream = nullptr;  // one reference
    bool m_isStopping = false;
    bool m_isEnding = false;        // m_pStream is being given up
    bool m_hasThreadEnded = false;  // Aravis' receiving one
    boost::condition_variable m_threadEnded;
    std::vector<bool> m_isHandedOver;  // by index of the frame
    std::size_t m_handedOver = 0;
    FrameIds m_frameIds;
    guint64 m_underruns = 0;  // as of the last frame
    StreamCounters m_finalCounters;
};

}  // namespace Zevrin
