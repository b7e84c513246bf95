#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <utility>

#include "CycleTime.h"
#include "EmbeddedItems.h"
#include "Failure.h"
#include "FrameQueue.h"
#include "RegisterBits.h"
#include "Registers.h"
#include "SimulatedDevice.h"
#include "VideoFormats.h"

namespace Zevrin {

using Lock = boost::lock_guard<boost::mutex>;

namespace {

constexpr double kNanosecondsPerSecond = 1e9;
constexpr unsigned long long kDefaultExposure = 5000000;
constexpr unsigned long long kNanosecondsPerMicrosecond = 1000;
constexpr RegisterField kThreeBits{0, 2};

// A machine that is too slow leaves frames out rather than falling behind for ever.
constexpr unsigned long long kMaxLag = 500000000;

/// Big-endian, as on the bus.
void PutQuadlet(unsigned int value, unsigned char* out) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        *out++ = static_cast<unsigned char>(value >> shift);
    }
}

/// Transports that deliver a time stamp beside the image.
bool HasOwnTimeStamp(InterfaceType type) {
    return type == INTERFACE_U3V || type == INTERFACE_GIGE;
}

}  // namespace

ImageSetup SimulatedDevice::GetImageSetup() const {
    const unsigned int format = kThreeBits.Get(m_registers.Get(Register::kCurrentFormat));
    const unsigned int mode = kThreeBits.Get(m_registers.Get(Register::kCurrentMode));
    if (format == kScalableFormat) {
        ImageSetup setup = GetFormat7Setup(*this);
        setup.isValid = mode == 0 && IsFormat7Ready(*this);
        setup.frameRate = std::min(m_description.frameRate, GetFormat7MaxRate(*this));
        return setup;
    }
    ImageSetup setup;
    const unsigned int rate = kThreeBits.Get(m_registers.Get(Register::kCurrentFrameRate));
    if (const VideoMode* pMode = FindVideoMode(format, mode)) {
        setup.width = pMode->width;
        setup.height = pMode->height;
        setup.format = pMode->pixelFormat;
        setup.frameRate = GetStandardFrameRate(rate);
        setup.isValid = IsRatePresent(*pMode, rate) &&
                        IsModePresent(*pMode, m_description.width, m_description.height, m_identity.isColor);
    }
    return setup;
}

Error SimulatedDevice::GetStreamFormat(StreamFormat* pFormat) {
    const Lock lock(m_bus.GetMutex());
    const Error error = CheckPlugged();
    if (error != ERR_OK) {
        return error;
    }
    const ImageSetup setup = GetImageSetup();
    if (!setup.isValid) {
        return Failure(
            ERR_INVALID_MODE,
            "The video format registers of the simulated camera %u do not fit together: format %u, "
            "mode %u, rate %u.",
            m_description.serialNumber, kThreeBits.Get(m_registers.Get(Register::kCurrentFormat)),
            kThreeBits.Get(m_registers.Get(Register::kCurrentMode)),
            kThreeBits.Get(m_registers.Get(Register::kCurrentFrameRate)));
    }
    const bool isRaw = setup.format == PIXEL_FORMAT_RAW8 || setup.format == PIXEL_FORMAT_RAW16;
    pFormat->width = setup.width;
    pFormat->height = setup.height;
    pFormat->pixelFormat = setup.format;
    pFormat->bayerFormat = isRaw ? m_description.bayer : BAYER_NONE;
    pFormat->payloadSize = GetImageSize(setup.width, setup.height, setup.format);
    return Error();
}

Error SimulatedDevice::StartStream(const boost::shared_ptr<FrameQueue>& pQueue) {
    const Lock lock(m_bus.GetMutex());
    const Error error = CheckPlugged();
    if (error != ERR_OK) {
        return error;
    }
    if (m_pQueue) {
        return Failure(ERR_ISOCH_ALREADY_STARTED, "The simulated camera %u streams already.",
                       m_description.serialNumber);
    }
    m_pQueue = pQueue;
    ++m_streamEpoch;
    return Error();
}

/// Frames that are still on their way never arrive.
boost::shared_ptr<FrameQueue> SimulatedDevice::DetachStream() {
    const boost::shared_ptr<FrameQueue> pQueue = std::move(m_pQueue);
    m_pQueue.reset();
    ++m_streamEpoch;
    if (pQueue) {
        pQueue->CountDropped(m_delayedFrames);
        m_counts.lost += m_delayedFrames;
    }
    m_delayedFrames = 0;
    return pQueue;
}

void SimulatedDevice::StopStream() {
    boost::shared_ptr<FrameQueue> pQueue;
    {
        const Lock lock(m_bus.GetMutex());
        pQueue = DetachStream();
    }
    const Lock filling(m_fillMutex);  // a frame that is being filled is waited for
}

void SimulatedDevice::StartTransmission() {
    const bool isPowered = (m_registers.Get(Register::kCameraPower) & kSwitchBit) != 0;
    if (!isPowered || !GetImageSetup().isValid) {
        m_registers.Set(Register::kTransmission, kTransmissionOff);
        return;
    }
    if (!m_isSending) {
        m_isSending = true;
        ++m_sendingEpoch;
        m_gridOrigin = m_bus.BeginSending();
        ScheduleExposure(m_bus.GetTime());
    }
}

/// An exposure under way is not sent.
void SimulatedDevice::StopTransmission() {
    m_registers.Set(Register::kTransmission, kTransmissionOff);
    if (m_isSending) {
        m_isSending = false;
        ++m_sendingEpoch;
        m_bus.EndSending();
    }
}

/// The first time after `now` at which a frame is due.
void SimulatedDevice::ScheduleExposure(unsigned long long now) {
    const double period = kNanosecondsPerSecond / GetImageSetup().frameRate;
    const auto timeOf = [&](double count) {
        return m_gridOrigin + static_cast<unsigned long long>(count * period);
    };
    double count = static_cast<double>(
        static_cast<unsigned long long>(static_cast<double>(now - m_gridOrigin) / period));
    while (timeOf(count) <= now) {
        ++count;
    }
    BusEvent event;
    event.time = timeOf(count);
    event.kind = BusEvent::Kind::kExposureStart;
    event.pDevice = this;
    event.epoch = m_sendingEpoch;
    m_bus.Schedule(std::move(event));
}

void SimulatedDevice::BeginExposure(const BusEvent& event) {
    const Lock lock(m_bus.GetMutex());
    if (event.epoch != m_sendingEpoch) {
        return;
    }
    const auto period = static_cast<unsigned long long>(kNanosecondsPerSecond / GetImageSetup().frameRate);
    BusEvent sent;
    sent.time = event.time + std::min(kDefaultExposure, period);
    sent.kind = BusEvent::Kind::kFrameSent;
    sent.pDevice = this;
    sent.epoch = m_sendingEpoch;
    sent.pExposure = MakeExposure(event.time);
    m_bus.Schedule(std::move(sent));
    const unsigned long long now = m_bus.GetTime();
    ScheduleExposure(std::max(event.time, now - std::min(now, kMaxLag)));
}

boost::shared_ptr<const Exposure> SimulatedDevice::MakeExposure(unsigned long long time) {
    const ImageSetup setup = GetImageSetup();
    auto pExposure = boost::make_shared<Exposure>();
    PictureSettings& picture = pExposure->picture;
    picture.left = setup.left;
    picture.top = setup.top;
    picture.width = setup.width;
    picture.height = setup.height;
    picture.format = setup.format;
    picture.bayer = m_description.bayer;
    picture.serialNumber = m_description.serialNumber;
    picture.frameNumber = ++m_frameNumber;
    pExposure->size = GetImageSize(setup.width, setup.height, setup.format);
    const unsigned int cycleTime = MakeCycleTime(time);
    SetCycleTime(cycleTime, &pExposure->timeStamp);
    if ((m_registers.Get(Advanced::kEmbeddedInfo) & kEmbeddedTimeStamp) != 0) {
        pExposure->embedded.push_back(cycleTime);
    }
    return pExposure;
}

void SimulatedDevice::OnEvent(const BusEvent& event) {
    switch (event.kind) {
        case BusEvent::Kind::kExposureStart:
            BeginExposure(event);
            break;
        case BusEvent::Kind::kFrameSent:
        case BusEvent::Kind::kDelayedFrame:
            OnFrameSent(event);
            break;
    }
}

/// Null when nobody listens to this frame any more.
boost::shared_ptr<FrameQueue> SimulatedDevice::TakeFate(const BusEvent& event, FrameFate* pFate) {
    const Lock lock(m_bus.GetMutex());
    if (event.kind == BusEvent::Kind::kDelayedFrame) {
        if (event.epoch != m_streamEpoch) {
            return nullptr;
        }
        --m_delayedFrames;
        return m_pQueue;
    }
    if (event.epoch != m_sendingEpoch || !m_pQueue) {
        return nullptr;
    }
    *pFate = m_faults.NextFrame();
    ++m_counts.exposed;
    m_counts.sent += *pFate == FrameFate::kDuplicated ? 2 : 1;
    m_counts.lost += *pFate == FrameFate::kDropped ? 1 : 0;
    if (*pFate == FrameFate::kDelayed) {
        ++m_delayedFrames;
        BusEvent later = event;
        later.kind = BusEvent::Kind::kDelayedFrame;
        later.time += m_faults.GetDelayUs() * kNanosecondsPerMicrosecond;
        later.epoch = m_streamEpoch;
        m_bus.Schedule(std::move(later));
    }
    return m_pQueue;
}

void SimulatedDevice::OnFrameSent(const BusEvent& event) {
    const Lock filling(m_fillMutex);
    FrameFate fate = FrameFate::kArrives;
    const boost::shared_ptr<FrameQueue> pQueue = TakeFate(event, &fate);
    if (!pQueue || fate == FrameFate::kDelayed) {
        return;
    }
    if (fate == FrameFate::kDropped) {
        pQueue->CountDropped(1);
        return;
    }
    Deliver(*pQueue, *event.pExposure, fate != FrameFate::kCorrupt);
    if (fate == FrameFate::kDuplicated) {
        Deliver(*pQueue, *event.pExposure, true);
    }
}

void SimulatedDevice::Deliver(FrameQueue& queue, const Exposure& exposure, bool isComplete) {
    Frame* pFrame = queue.BeginFill();
    if (pFrame == nullptr) {
        queue.CountDriverDropped(1);
        return;
    }
    const PictureSettings& picture = exposure.picture;
    const bool fits = exposure.size <= pFrame->capacity;  // the settings may have changed since
    if (fits && m_description.paint) {
        m_picture.Paint(picture, GetLinearTones(), pFrame->data);
    }
    unsigned char* out = pFrame->data;
    for (const unsigned int quadlet : exposure.embedded) {
        if (static_cast<std::size_t>(out - pFrame->data) + sizeof(quadlet) <= pFrame->capacity) {
            PutQuadlet(quadlet, out);
            out += sizeof(quadlet);
        }
    }
    const bool isRaw = picture.format == PIXEL_FORMAT_RAW8 || picture.format == PIXEL_FORMAT_RAW16;
    FrameInfo& info = pFrame->info;
    info = FrameInfo();
    info.width = picture.width;
    info.height = picture.height;
    info.stride = static_cast<unsigned int>(GetImageSize(picture.width, 1, picture.format));
    info.pixelFormat = picture.format;
    info.bayerFormat = isRaw ? picture.bayer : BAYER_NONE;
    info.frameId = picture.frameNumber;
    info.isComplete = isComplete && fits;
    info.receivedSize = info.isComplete ? exposure.size : std::min(exposure.size / 2, pFrame->capacity);
    info.hasTimeStamp = HasOwnTimeStamp(m_description.interfaceType);
    if (info.hasTimeStamp) {
        info.timeStamp = GetHostTime();
        info.timeStamp.cycleSeconds = exposure.timeStamp.cycleSeconds;
        info.timeStamp.cycleCount = exposure.timeStamp.cycleCount;
        info.timeStamp.cycleOffset = exposure.timeStamp.cycleOffset;
    }
    queue.EndFill(pFrame);
}

}  // namespace Zevrin
