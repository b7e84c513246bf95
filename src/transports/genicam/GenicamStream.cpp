#include "GenicamStream.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/thread.hpp>
#include <limits>
#include <utility>

#include "AravisError.h"
#include "DeviceFacts.h"
#include "Failure.h"
#include "FrameFacts.h"
#include "GenicamDevice.h"
#include "StreamSettings.h"

namespace Zevrin {

namespace {

constexpr std::size_t kOnlyFree = std::numeric_limits<std::size_t>::max();

StreamCounters ReadCounters(ArvStream* pStream) {
    StreamCounters counters;
    if (ARV_IS_GV_STREAM(pStream)) {
        counters.resendPacketsRequested =
            static_cast<unsigned int>(arv_stream_get_info_uint64_by_name(pStream, "n_resend_requests"));
        counters.resendPacketsReceived =
            static_cast<unsigned int>(arv_stream_get_info_uint64_by_name(pStream, "n_resent_packets"));
    }
    return counters;
}

guint64 ReadUnderruns(ArvStream* pStream) {
    guint64 completed = 0;
    guint64 failures = 0;
    guint64 underruns = 0;
    arv_stream_get_statistics(pStream, &completed, &failures, &underruns);
    return underruns;
}

}  // namespace

Error GenicamStream::Start(const boost::shared_ptr<GenicamDevice>& pDevice, const ZevrinConfig& config,
                           const boost::shared_ptr<FrameQueue>& pQueue,
                           boost::shared_ptr<GenicamStream>* ppStream) {
    StreamFormat format;
    Error error = ReadStreamFormat(*pDevice, &format);
    if (error == ERR_OK && format.payloadSize > pQueue->GetBufferSize()) {
        return Failure(ERR_ISOCH_BUFFERS_FAILED, "The buffers hold %zu bytes each; an image takes %zu.",
                       pQueue->GetBufferSize(), format.payloadSize);
    }
    if (error == ERR_OK) {
        error = ApplyPacketSettings(*pDevice, config);
    }
    if (error != ERR_OK) {
        return error;
    }
    auto pStream = boost::make_shared<GenicamStream>(pDevice, pQueue, format, config.deliverIncomplete);
    error = pStream->Create(config);
    if (error == ERR_OK) {
        *ppStream = std::move(pStream);
    }
    return error;
}

GenicamStream::GenicamStream(boost::shared_ptr<GenicamDevice> pDevice, boost::shared_ptr<FrameQueue> pQueue,
                             const StreamFormat& format, bool deliverIncomplete)
    : m_pDevice(std::move(pDevice)),
      m_pQueue(std::move(pQueue)),
      m_format(format),
      m_deliverIncomplete(deliverIncomplete),
      m_isHandedOver(m_pQueue->GetBufferCount()) {}

Error GenicamStream::Create(const ZevrinConfig& config) {
    if (m_deliverIncomplete) {
        try {
            m_marking.Start();
        } catch (const boost::thread_resource_error&) {
            return Failure(ERR_ISOCH_START_FAILED,
                           "The system refuses a thread that prepares image buffers.");
        }
    }
    for (std::size_t index = 0; index < m_pQueue->GetBufferCount(); ++index) {
        Frame* const pFrame = m_pQueue->GetBuffer(index);
        // Not the whole of a larger buffer: Aravis expects as many packets as fill the buffer.
        m_buffers.emplace_back(arv_buffer_new_full(m_format.payloadSize, pFrame->data, pFrame, nullptr));
    }
    GObjectHandle<ArvStream> pStream;
    // The stream calls this object, which therefore lives for as long as the call.
    Error error = m_pDevice->Ask<GObjectHandle<ArvStream>>(
        ERR_ISOCH_START_FAILED, "Setting up the stream",
        [pThis = shared_from_this(), config](ArvDevice* pDevice, GError** ppReport) {
            GObjectHandle<ArvStream> pCreated(
                arv_device_create_stream(pDevice, &GenicamStream::OnStreamEvent, pThis.get(), ppReport));
            ApplyStreamSettings(pDevice, pCreated.get(), config, pThis->m_format.payloadSize);
            return pCreated;
        },
        &pStream);
    if (error == ERR_OK && !pStream) {
        error = Failure(ERR_ISOCH_START_FAILED, "The camera has no stream.");
    }
    if (error != ERR_OK) {
        return error;
    }
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_pStream = pStream.release();
    }
    m_pQueue->SetFreeListener([this] { Supply(); });
    HandOverFreeFrames();
    return Error();
}

/// Ending the thread is left to the end of the stream object: Aravis complains when it is done before. That
/// end also writes to the device, so it is the device's thread on which it comes.
void GenicamStream::BeginStop() {
    ArvStream* pStream = nullptr;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_isStopping = true;
        if (m_pStream == nullptr || m_isEnding) {
            return;
        }
        m_isEnding = true;
        pStream = m_pStream;
        m_finalCounters = ReadCounters(pStream);
    }
    m_pQueue->SetFreeListener(nullptr);
    m_marking.Stop();
    if (m_pDevice->EndStream(pStream)) {
        NoticeThreadEnd();
    }
}

void GenicamStream::NoticeThreadEnd() {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_hasThreadEnded = true;
    m_threadEnded.notify_all();
}

void GenicamStream::Stop() {
    const boost::this_thread::disable_interruption notInterrupted;
    boost::lock_guard<boost::mutex> stopLock(m_stopMutex);
    BeginStop();
    {
        boost::unique_lock<boost::mutex> lock(m_mutex);
        m_threadEnded.wait(lock, [this] { return m_pStream == nullptr || m_hasThreadEnded; });
        if (m_pStream == nullptr) {
            return;
        }
        m_pStream = nullptr;
    }
    for (std::size_t index = 0; index < m_isHandedOver.size(); ++index) {
        if (m_isHandedOver[index]) {
            m_pQueue->AbandonFill(m_pQueue->GetBuffer(index));
        }
    }
    m_buffers.clear();
}

/// Under the lock, so that a stop cannot come in between. The queue calls nobody in turn.
void GenicamStream::Fail(const Error& reason) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (!m_isStopping) {
        m_pQueue->Fail(reason);
    }
}

void GenicamStream::ExpectRestart() {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_frameIds.ExpectRestart();
}

StreamCounters GenicamStream::GetCounters() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_pStream != nullptr && !m_isStopping ? ReadCounters(m_pStream) : m_finalCounters;
}

/// On the stream's own thread of Aravis, which first puts a filled buffer into its output queue and then
/// calls. It ends before the stream object is gone.
void GenicamStream::OnStreamEvent(void* pData, ArvStreamCallbackType type, ArvBuffer* /*pBuffer*/) noexcept {
    auto* const pThis = static_cast<GenicamStream*>(pData);
    if (type == ARV_STREAM_CALLBACK_TYPE_BUFFER_DONE) {
        pThis->OnBufferDone();
    } else if (type == ARV_STREAM_CALLBACK_TYPE_EXIT) {
        pThis->NoticeThreadEnd();  // this object may be gone now
    }
}

void GenicamStream::OnBufferDone() {
    ArvStream* pStream = nullptr;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        pStream = m_pStream;
    }
    const GObjectHandle<ArvBuffer> pBuffer(arv_stream_try_pop_buffer(pStream));
    if (!pBuffer) {
        return;
    }
    auto* const pFrame = static_cast<Frame*>(const_cast<void*>(arv_buffer_get_user_data(pBuffer.get())));
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_isHandedOver[pFrame->index] = false;
        --m_handedOver;
    }
    Conclude(pBuffer.get(), pFrame);
    Supply();
}

void GenicamStream::Conclude(ArvBuffer* pBuffer, Frame* pFrame) {
    const bool hasLeader = HasLeader(pBuffer);
    FrameIds::Step step;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        step = hasLeader ? m_frameIds.Next(arv_buffer_get_frame_id(pBuffer)) : m_frameIds.NextWithoutNumber();
    }
    if (hasLeader) {  // else the gap shows at the next frame, and so must what Aravis counted meanwhile
        CountMissed(step.missed);
    }
    if (arv_buffer_get_status(pBuffer) == ARV_BUFFER_STATUS_ABORTED) {
        m_pQueue->CountDriverDropped(1);  // the stream ended while the frame was arriving
        m_pQueue->AbandonFill(pFrame);
        return;
    }
    pFrame->info = ReadFrameInfo(pBuffer, m_format);
    pFrame->info.frameId = step.id;
    if (m_deliverIncomplete && !pFrame->info.isComplete) {
        pFrame->info.missing = m_marks.FindAndClear(pFrame->data, pFrame->info.receivedSize);
    }
    m_pQueue->EndFill(pFrame);
}

/// Frames that Aravis had no buffer for have been refused here, not lost on their way. It counts packets that
/// found none, not frames, so all that are missing beside such a packet are taken for refused.
void GenicamStream::CountMissed(unsigned int frames) {
    bool noBuffer = false;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        const guint64 underruns = ReadUnderruns(m_pStream);
        noBuffer = underruns != m_underruns;
        m_underruns = underruns;
    }
    if (noBuffer) {
        m_pQueue->CountDriverDropped(frames);
    } else {
        m_pQueue->CountDropped(frames);
    }
}

void GenicamStream::Supply() {
    if (m_deliverIncomplete) {
        m_marking.Post([this] { HandOverFreeFrames(); });
    } else {
        HandOverFreeFrames();
    }
}

void GenicamStream::HandOverFreeFrames() {
    while (Frame* const pFrame = TakeFreeFrame()) {
        HandOver(pFrame);
    }
}

/// In the newest mode a frame that waits makes room, when Aravis would have no buffer otherwise.
Frame* GenicamStream::TakeFreeFrame() {
    std::size_t keepWaiting = kOnlyFree;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (m_isStopping) {
            return nullptr;
        }
        if (m_handedOver == 0) {
            keepWaiting = 1;
        }
    }
    return m_pQueue->BeginFill(keepWaiting);
}

void GenicamStream::HandOver(Frame* pFrame) {
    if (m_deliverIncomplete) {
        m_marks.Fill(pFrame->data, m_format.payloadSize);  // what is lost shall not show an older image
    }
    ForgetLeader(m_buffers[pFrame->index].get());
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (!m_isStopping) {
            m_isHandedOver[pFrame->index] = true;
            ++m_handedOver;
            ArvBuffer* const pBuffer = m_buffers[pFrame->index].get();
            arv_stream_push_buffer(m_pStream, ARV_BUFFER(g_object_ref(pBuffer)));
            return;
        }
    }
    m_pQueue->AbandonFill(pFrame);
}

}  // namespace Zevrin
