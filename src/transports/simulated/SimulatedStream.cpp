#include "SimulatedStream.h"

#include <algorithm>
#include <utility>

#include "CycleTime.h"
#include "VideoFormats.h"

namespace Zevrin {

namespace {

constexpr unsigned long long kNanosecondsPerMicrosecond = 1000;

/// Big-endian, as on the bus.
void PutQuadlet(unsigned int value, unsigned char* out) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        *out++ = static_cast<unsigned char>(value >> shift);
    }
}

void Stamp(const std::vector<unsigned int>& quadlets, Frame* pFrame) {
    std::size_t offset = 0;
    for (const unsigned int quadlet : quadlets) {
        if (offset + sizeof(quadlet) <= pFrame->capacity) {
            PutQuadlet(quadlet, pFrame->data + offset);
            offset += sizeof(quadlet);
        }
    }
}

FrameInfo Describe(const Exposure& exposure) {
    const PictureSettings& picture = exposure.picture;
    FrameInfo info;
    info.width = picture.width;
    info.height = picture.height;
    info.stride = static_cast<unsigned int>(GetImageSize(picture.width, 1, picture.format));
    info.pixelFormat = picture.format;
    info.bayerFormat = IsRaw(picture.format) ? picture.bayer : BAYER_NONE;
    info.frameId = picture.frameNumber;
    info.hasTimeStamp = exposure.hasTimeStamp;
    if (exposure.hasTimeStamp) {
        info.timeStamp = GetHostTime();
        info.timeStamp.cycleSeconds = exposure.timeStamp.cycleSeconds;
        info.timeStamp.cycleCount = exposure.timeStamp.cycleCount;
        info.timeStamp.cycleOffset = exposure.timeStamp.cycleOffset;
    }
    return info;
}

}  // namespace

SimulatedStream::SimulatedStream(SimulatedBus& bus, const CameraDescription& camera)
    : m_bus(bus), m_faults(camera.faults) {}

void SimulatedStream::Start(const boost::shared_ptr<FrameQueue>& pQueue) {
    m_pQueue = pQueue;
}

unsigned int SimulatedStream::LoseDelayed() {
    if (m_delayedFrames != 0) {
        m_pQueue->CountDropped(m_delayedFrames);
        m_counts.lost += m_delayedFrames;
        ++m_epoch;
    }
    return std::exchange(m_delayedFrames, 0);
}

boost::shared_ptr<FrameQueue> SimulatedStream::Detach() {
    LoseDelayed();
    return std::exchange(m_pQueue, nullptr);
}

SimulatedStream::Parcel SimulatedStream::Send(const BusEvent& event,
                                              const boost::shared_ptr<const Exposure>& pExposure) {
    if (!m_pQueue) {
        return Parcel();
    }
    const FrameFate fate = m_faults.NextFrame();
    ++m_counts.exposed;
    if (fate == FrameFate::kSilent) {
        return Parcel();
    }
    m_counts.sent += fate == FrameFate::kDuplicated ? 2 : 1;
    m_counts.lost += fate == FrameFate::kDropped ? 1 : 0;
    switch (fate) {
        case FrameFate::kArrives:
            return {m_pQueue, pExposure, Parcel::Fate::kArrives};
        case FrameFate::kDropped:
            return {m_pQueue, pExposure, Parcel::Fate::kDropped};
        case FrameFate::kCorrupt:
            return {m_pQueue, pExposure, Parcel::Fate::kCorrupt};
        case FrameFate::kDuplicated:
            return {m_pQueue, pExposure, Parcel::Fate::kDuplicated};
        case FrameFate::kSilent:
        case FrameFate::kDelayed:
            break;
    }
    ++m_delayedFrames;
    BusEvent later = event;
    later.kind = BusEvent::Kind::kDelayedFrame;
    later.pExposure = pExposure;
    later.time += m_faults.GetDelayUs() * kNanosecondsPerMicrosecond;
    later.epoch = m_epoch;
    m_bus.Schedule(std::move(later));
    return Parcel();
}

SimulatedStream::Parcel SimulatedStream::TakeDelayed(const BusEvent& event) {
    if (event.epoch != m_epoch) {
        return Parcel();
    }
    --m_delayedFrames;
    return {m_pQueue, event.pExposure, Parcel::Fate::kArrives};
}

void SimulatedStream::Deliver(const Parcel& parcel) {
    if (!parcel.pQueue) {
        return;
    }
    if (parcel.fate == Parcel::Fate::kDropped) {
        parcel.pQueue->CountDropped(1);
        return;
    }
    Fill(*parcel.pQueue, *parcel.pExposure, parcel.fate != Parcel::Fate::kCorrupt);
    if (parcel.fate == Parcel::Fate::kDuplicated) {
        Fill(*parcel.pQueue, *parcel.pExposure, true);
    }
}

void SimulatedStream::Fill(FrameQueue& queue, const Exposure& exposure, bool isComplete) {
    Frame* pFrame = queue.BeginFill();
    if (pFrame == nullptr) {
        queue.CountDriverDropped(1);
        return;
    }
    const bool fits = exposure.size <= pFrame->capacity;  // the settings may have changed since
    if (fits && exposure.isPainted) {
        m_picture.Paint(exposure.picture, pFrame->data);
    }
    Stamp(exposure.embedded, pFrame);
    pFrame->info = Describe(exposure);
    pFrame->info.isComplete = isComplete && fits;
    pFrame->info.receivedSize =
        pFrame->info.isComplete ? exposure.size : std::min(exposure.size / 2, pFrame->capacity);
    queue.EndFill(pFrame);
}

}  // namespace Zevrin
