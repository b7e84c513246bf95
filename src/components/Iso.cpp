#include "Iso.h"

#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/thread.hpp>
#include <new>

#include "CallbackThread.h"
#include "Failure.h"
#include "FrameQueue.h"
#include "Registers.h"

namespace Zevrin {

namespace {

constexpr int kDefaultTimeoutMs = 2000;
constexpr unsigned int kMaxBuffers = 4096;
constexpr std::size_t kMaxPayloadSize = std::size_t{1} << 30;  // a camera that asks for more is not believed

}  // namespace

Iso::Iso() : m_pCounters(boost::make_shared<FrameCounters>()), m_defaultTimeoutMs(kDefaultTimeoutMs) {}

Error Iso::CheckConfiguration(const ZevrinConfig& config) {
    if (config.numBuffers < 1 || config.numBuffers > kMaxBuffers) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "The number of buffers is %u; it must be 1 to %u.",
                       config.numBuffers, kMaxBuffers);
    }
    if (config.grabTimeout < kTimeoutDefault) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The grab timeout is %d; it must be milliseconds, %d (no limit) or %d (the default).",
                       config.grabTimeout, kTimeoutInfinite, kTimeoutDefault);
    }
    if (config.grabMode != GRAB_NEWEST && config.grabMode != GRAB_IN_ORDER) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The grab mode is %u; it must be %u (newest) or %u (in order).",
                       static_cast<unsigned int>(config.grabMode), static_cast<unsigned int>(GRAB_NEWEST),
                       static_cast<unsigned int>(GRAB_IN_ORDER));
    }
    return Error();
}

Error Iso::CheckAgainstStream(const ZevrinConfig& config) const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    const bool isSame =
        config.numBuffers == m_streamConfig.numBuffers && config.grabMode == m_streamConfig.grabMode;
    return m_state != State::kStarted || isSame
               ? Error()
               : Failure(
                     ERR_ISOCH_ALREADY_STARTED,
                     "A stream runs with %u buffers and grab mode %u; %u buffers and mode %u need it to be "
                     "stopped first.",
                     m_streamConfig.numBuffers, static_cast<unsigned int>(m_streamConfig.grabMode),
                     config.numBuffers, static_cast<unsigned int>(config.grabMode));
}

Iso::~Iso() {
    StopForGood();
}

/// A step of the stream's state from one that allows it, which ends in the stopped state however the scope
/// is left, unless `Reach` was called.
class Iso::Transition {
  public:
    explicit Transition(Iso& iso) : m_iso(iso) {}
    ~Transition() {
        if (m_isUnderWay) {
            boost::lock_guard<boost::mutex> lock(m_iso.m_mutex);
            SetState(State::kStopped);
        }
    }
    Transition(const Transition&) = delete;
    Transition& operator=(const Transition&) = delete;

    /// With the lock held. Whether the step is allowed; it is under way then.
    bool Begin(State from, State through) {
        m_isUnderWay = m_iso.m_state == from;
        if (m_isUnderWay) {
            SetState(through);
        }
        return m_isUnderWay;
    }

    /// With the lock held. The step has succeeded.
    void Reach(State state) {
        SetState(state);
        m_isUnderWay = false;
    }

  private:
    void SetState(State state) {
        m_iso.m_state = state;
        m_iso.m_stateChanged.notify_all();
    }

    Iso& m_iso;
    bool m_isUnderWay = false;
};

Error Iso::StartCapture(const ZevrinConfig& config, ImageCallback callback, const void* pCallbackData,
                        const Beginning& beginning) {
    const Error error = CheckConfiguration(config);
    if (error != ERR_OK) {
        return error;
    }
    Transition transition(*this);
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (m_closing > 0) {
            return Failure(ERR_NOT_CONNECTED, "No stream can be started: the camera is being given up.");
        }
        if (!transition.Begin(State::kStopped, State::kStarting)) {
            return Failure(ERR_ISOCH_ALREADY_STARTED, "A stream of this camera has already been started.");
        }
    }
    ReapCallbackThreads();
    try {
        return StartStream(config, callback, pCallbackData, beginning, &transition);
    } catch (const std::bad_alloc&) {
        return Failure(ERR_OUT_OF_MEMORY, "There is no memory to start a stream of %u buffers.",
                       config.numBuffers);
    }
}

Error Iso::MakeQueue(const ZevrinConfig& config, const StreamFormat& format,
                     boost::shared_ptr<FrameQueue>* ppQueue) {
    if (format.payloadSize == 0 || format.payloadSize > kMaxPayloadSize) {
        return Failure(ERR_ISOCH_BUFFERS_FAILED,
                       "The camera announces images of %zu bytes; 1 to %zu are possible.", format.payloadSize,
                       kMaxPayloadSize);
    }
    UserBuffers user;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        user = m_userBuffers;
    }
    if (user.pMemory == nullptr) {
        user.size = format.payloadSize;
        user.count = config.numBuffers;
    } else if (user.size < format.payloadSize) {
        return Failure(ERR_ISOCH_BUFFERS_FAILED, "The user buffers hold %zu bytes each; an image takes %zu.",
                       user.size, format.payloadSize);
    }
    user.count = std::min(user.count, config.numBuffers);
    try {
        *ppQueue = boost::make_shared<FrameQueue>(user.count, user.size, config.grabMode,
                                                  config.deliverIncomplete, user.pMemory, m_pCounters);
    } catch (const std::bad_alloc&) {
        return Failure(ERR_OUT_OF_MEMORY, "There is no memory for %u buffers of %zu bytes.", user.count,
                       user.size);
    }
    return Error();
}

Error Iso::StartStream(const ZevrinConfig& config, ImageCallback callback, const void* pCallbackData,
                       const Beginning& beginning, Transition* pTransition) {
    boost::shared_ptr<HardwareInterface> pHardware;
    Error error = RequireHardware(&pHardware);
    StreamFormat format;
    if (error == ERR_OK) {
        error = pHardware->GetStreamFormat(&format);
    }
    boost::shared_ptr<FrameQueue> pQueue;
    if (error == ERR_OK) {
        error = MakeQueue(config, format, &pQueue);
    }
    if (error == ERR_OK) {
        const StreamCounters counters = pHardware->GetStreamCounters();
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_resendsBase = counters;
    }
    if (error == ERR_OK) {
        pQueue->SetGaps(beginning.gaps);
        error = pHardware->StartStream(config, pQueue);
    }
    if (error != ERR_OK) {
        return error;
    }
    LearnEmbeddedInfo();
    error = BeginStream(config, pHardware, pQueue, callback, pCallbackData, beginning.isTransmitting,
                        pTransition);
    if (error != ERR_OK) {
        // Also when switching on has failed: a write that went unanswered may have taken effect.
        const Error ignored = EndStream(pHardware.get(), pQueue);
        static_cast<void>(ignored);
    }
    return error;
}

Error Iso::BeginStream(const ZevrinConfig& config, const boost::shared_ptr<HardwareInterface>& pHardware,
                       const boost::shared_ptr<FrameQueue>& pQueue, ImageCallback callback,
                       const void* pCallbackData, bool isTransmitting, Transition* pTransition) {
    Error error =
        WriteRegister(Register::kTransmission, isTransmitting ? kTransmissionOn : kTransmissionOff, false);
    if (error != ERR_OK) {
        return FailureBecause(ERR_ISOCH_START_FAILED, error,
                              "The camera's transmission could not be switched %s.",
                              isTransmitting ? "on" : "off");
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_pQueue = pQueue;
    m_interruption = Error();
    m_pStreamHardware = pHardware;
    m_defaultTimeoutMs = config.grabTimeout == kTimeoutDefault ? kDefaultTimeoutMs : config.grabTimeout;
    m_state = State::kStarted;  // before the first callback can ask
    m_streamConfig = config;
    m_streamReceiver = callback != nullptr ? Receiver{callback, pCallbackData} : m_receiver;
    if (m_streamReceiver.callback != nullptr) {
        error = StartCallbackThread(m_streamReceiver);
    }
    if (error == ERR_OK) {
        pTransition->Reach(State::kStarted);
    } else {
        m_state = State::kStarting;
        m_streamReceiver = Receiver();
        m_pQueue.reset();
        m_pStreamHardware.reset();
    }
    return error;
}

/// After a loss, the camera may have come back and be streaming for another camera object, which is not to be
/// stopped.
Error Iso::EndStream(HardwareInterface* pHardware, const boost::shared_ptr<FrameQueue>& pQueue) {
    Error error;
    if (pHardware != nullptr) {
        if (pHardware->IsStreaming(pQueue)) {
            error = WriteRegister(Register::kTransmission, kTransmissionOff, false);
        }
        pHardware->StopStream(pQueue);
    }
    pQueue->Close();
    return error;
}

Error Iso::StopCapture() {
    Transition transition(*this);
    boost::shared_ptr<FrameQueue> pQueue;
    boost::shared_ptr<HardwareInterface> pHardware;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (!transition.Begin(State::kStarted, State::kStopping)) {
            return Failure(ERR_ISOCH_NOT_STARTED, "No stream of this camera has been started.");
        }
        pQueue = m_pQueue;
        pHardware = m_pStreamHardware.lock();
    }
    const Error error = EndStream(pHardware.get(), pQueue);
    StopCallbackThread();
    const StreamCounters counters = pHardware ? pHardware->GetStreamCounters() : StreamCounters();

    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_resends = AddResends(m_resends, m_resendsBase, pHardware ? counters : m_resendsBase);
    m_pQueue.reset();
    m_pStreamHardware.reset();
    m_streamReceiver = Receiver();
    transition.Reach(State::kStopped);
    if (error != ERR_OK) {
        return FailureBecause(
            ERR_ISOCH_STOP_FAILED, error,
            "The camera's transmission could not be switched off; the stream was stopped all the "
            "same.");
    }
    return Error();
}

bool Iso::StopForGood(const Error& reason) {
    const boost::this_thread::disable_interruption notInterrupted;
    boost::unique_lock<boost::mutex> lock(m_mutex);
    ++m_closing;
    m_interruption = reason;
    if (const boost::shared_ptr<FrameQueue> pQueue = reason != ERR_OK ? m_pQueue : nullptr) {
        lock.unlock();
        pQueue->Fail(reason);
        lock.lock();
    }
    // Whoever is starting or stopping ends that first; within a callback it may be waiting for this thread.
    const bool canWait = !CallbackThread::IsWithinCallbackOf(*this);
    bool hasRun = false;
    do {
        lock.unlock();
        hasRun = StopCapture() != ERR_ISOCH_NOT_STARTED || hasRun;  // no more can be done about a failure
        lock.lock();
        m_stateChanged.wait(
            lock, [&] { return !canWait || m_state == State::kStopped || m_state == State::kStarted; });
    } while (m_state == State::kStarted);
    lock.unlock();
    ReapCallbackThreads();
    lock.lock();
    --m_closing;
    return hasRun;
}

Error Iso::SetCallback(ImageCallback callback, const void* pCallbackData) {
    boost::unique_lock<boost::mutex> lock(m_mutex);
    const Receiver receiver = {callback, pCallbackData};
    if (m_state != State::kStarted) {
        m_receiver = receiver;
        return Error();
    }
    m_streamReceiver = receiver;
    if (callback == nullptr) {
        lock.unlock();
        StopCallbackThread();
    } else if (m_pCallbackThread != nullptr && !m_pCallbackThread->IsFinished()) {
        m_pCallbackThread->Replace(callback, pCallbackData);
    } else {
        return StartCallbackThread(receiver);
    }
    return Error();
}

bool Iso::GetStreamStart(StreamStart* pStart) const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (m_state != State::kStarted) {
        return false;
    }
    *pStart = {m_streamConfig, m_streamReceiver, m_pQueue->GetGaps()};
    return true;
}

Error Iso::SetUserBuffers(unsigned char* pMemory, int bufferSize, int bufferCount) {
    if (pMemory != nullptr &&
        (bufferSize < 1 || bufferCount < 1 || bufferCount > static_cast<int>(kMaxBuffers))) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "%d user buffers of %d bytes were given; there must be 1 to %u of at least 1 byte.",
                       bufferCount, bufferSize, kMaxBuffers);
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (m_state != State::kStopped) {
        return Failure(ERR_ISOCH_ALREADY_STARTED, "The buffers of a running stream cannot be changed.");
    }
    m_userBuffers = UserBuffers();
    if (pMemory != nullptr) {
        m_userBuffers = {pMemory, static_cast<std::size_t>(bufferSize),
                         static_cast<unsigned int>(bufferCount)};
    }
    return Error();
}

Error Iso::GetBayerFormat(BayerTileFormat* pFormat) {
    boost::shared_ptr<HardwareInterface> pHardware;
    Error error = RequireHardware(&pHardware);
    if (error != ERR_OK) {
        return error;
    }
    if (pFormat == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The Bayer tile format needs a place to go to.");
    }
    StreamFormat format;
    error = pHardware->GetStreamFormat(&format);
    if (error == ERR_OK) {
        *pFormat = format.bayerFormat;
    }
    return error;
}

}  // namespace Zevrin
