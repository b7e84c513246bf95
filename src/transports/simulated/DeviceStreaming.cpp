#include <boost/thread/lock_guard.hpp>
#include <utility>

#include "DeviceLayout.h"
#include "Failure.h"
#include "RegisterFields.h"
#include "SimulatedDevice.h"
#include "VideoFormats.h"

namespace Zevrin {

using Lock = boost::lock_guard<boost::mutex>;

Error SimulatedDevice::GetStreamFormat(StreamFormat* pFormat) {
    const Lock lock(m_bus.GetMutex());
    const Error error = CheckPlugged();
    if (error != ERR_OK) {
        return error;
    }
    const ImageSetup setup = GetImageSetup();
    if (!setup.isValid) {
        const auto get = [this](unsigned int offset) { return kVideoModeField.Get(m_registers.Get(offset)); };
        return Failure(
            ERR_INVALID_MODE,
            "The video format registers of the simulated camera %u do not fit together: format %u, "
            "mode %u, rate %u.",
            m_description.serialNumber, get(Register::kCurrentFormat), get(Register::kCurrentMode),
            get(Register::kCurrentFrameRate));
    }
    pFormat->width = setup.width;
    pFormat->height = setup.height;
    pFormat->pixelFormat = setup.format;
    pFormat->bayerFormat = IsRaw(setup.format) ? m_description.bayer : BAYER_NONE;
    pFormat->payloadSize = setup.GetSize();
    return Error();
}

Error SimulatedDevice::StartStream(const boost::shared_ptr<FrameQueue>& pQueue) {
    const Lock lock(m_bus.GetMutex());
    const Error error = CheckPlugged();
    if (error != ERR_OK) {
        return error;
    }
    if (m_stream.IsListening()) {
        return Failure(ERR_ISOCH_ALREADY_STARTED, "The simulated camera %u streams already.",
                       m_description.serialNumber);
    }
    m_stream.Start(pQueue);
    return Error();
}

bool SimulatedDevice::IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const {
    const Lock lock(m_bus.GetMutex());
    return m_stream.IsListening(pQueue);
}

void SimulatedDevice::StopStream(const boost::shared_ptr<FrameQueue>& pQueue) {
    {
        const Lock lock(m_bus.GetMutex());
        if (m_stream.IsListening(pQueue)) {
            m_stream.Detach();
        }
    }
    const Lock filling(m_stream.GetFillMutex());  // a frame that is being filled is waited for
}

bool SimulatedDevice::MayTransmit() const {
    return (m_registers.Get(Register::kCameraPower) & kSwitchBit) != 0 && GetImageSetup().isValid;
}

void SimulatedDevice::StartTransmission() {
    if (MayTransmit()) {
        m_registers.Set(Register::kShots, 0);
        BeginSending(0);
    } else {
        m_registers.Set(Register::kTransmission, kTransmissionOff);
    }
}

void SimulatedDevice::StopTransmission() {
    m_registers.Set(Register::kTransmission, kTransmissionOff);
    m_registers.Set(Register::kShots, 0);
    m_sequencer.Stop();
    CountLost(m_stream.LoseDelayed());
}

void SimulatedDevice::BeginSending(unsigned int frames) {
    if (m_sequencer.Start(frames, m_writeTime)) {
        m_stream.GetFaults().BeginSending();
    }
}

void SimulatedDevice::CountLost(unsigned int frames) {
    m_registers.Set(Advanced::kTransmitFailures, m_registers.Get(Advanced::kTransmitFailures) + frames);
}

void SimulatedDevice::StartShots(unsigned int count, unsigned int word) {
    const bool isTransmitting = m_registers.Get(Register::kTransmission) != kTransmissionOff;
    if (!isTransmitting && MayTransmit()) {
        m_registers.Set(Register::kShots, word);
        BeginSending(count);
    }
}

void SimulatedDevice::StopShots() {
    m_registers.Set(Register::kShots, 0);
    if (m_registers.Get(Register::kTransmission) == kTransmissionOff) {
        m_sequencer.Stop();
    }
}

void SimulatedDevice::ChangeInput(unsigned int pin, bool isHigh) {
    const bool isNoticed = m_pins.SetInput(m_registers, pin, isHigh);  // the outside goes on without a camera
    if (!m_isPlugged || !isNoticed) {
        return;
    }
    const TriggerSettings trigger = ReadTrigger(m_registers);
    if (trigger.source == pin) {
        m_sequencer.OnSignal(isHigh == trigger.isActiveHigh);
    }
}

void SimulatedDevice::SetInput(unsigned int pin, bool isHigh, unsigned long long microseconds) {
    constexpr unsigned long long kNanosecondsPerMicrosecond = 1000;
    {
        const Lock lock(m_bus.GetMutex());
        ChangeInput(pin, isHigh);
        const unsigned int epoch = m_pins.NextInputEpoch(pin);
        if (microseconds != 0) {
            BusEvent back;
            back.kind = BusEvent::Kind::kInputChange;
            back.time = m_bus.GetTime() + microseconds * kNanosecondsPerMicrosecond;
            back.pDevice = this;
            back.epoch = epoch;
            back.input = pin;
            back.isHigh = !isHigh;
            m_bus.Schedule(std::move(back));
        }
    }
    FlushEvents();
}

bool SimulatedDevice::IsPinHigh(unsigned int pin) const {
    const Lock lock(m_bus.GetMutex());
    return m_pins.IsHigh(m_registers, pin, m_bus.GetTime());
}

void SimulatedDevice::OnEvent(const BusEvent& event) {
    switch (event.kind) {
        case BusEvent::Kind::kExposureDue: {
            const Lock lock(m_bus.GetMutex());
            m_sequencer.OnExposureDue(event);
            break;
        }
        case BusEvent::Kind::kInputChange: {
            const Lock lock(m_bus.GetMutex());
            if (event.epoch == m_pins.GetInputEpoch(event.input)) {
                ChangeInput(event.input, event.isHigh);
            }
            break;
        }
        case BusEvent::Kind::kExposureEnd:
            OnExposureEnd(event);
            break;
        case BusEvent::Kind::kDelayedFrame:
            OnDelayedFrame(event);
            break;
    }
    FlushEvents();
}

void SimulatedDevice::OnExposureEnd(const BusEvent& event) {
    const Lock filling(m_stream.GetFillMutex());
    SimulatedStream::Parcel parcel;
    {
        const Lock lock(m_bus.GetMutex());
        const boost::shared_ptr<const Exposure> pExposure = m_sequencer.OnExposureEnd(event);
        if (pExposure) {
            parcel = m_stream.Send(event, pExposure);
        }
        if (parcel.pQueue && parcel.fate == SimulatedStream::Parcel::Fate::kDropped) {
            CountLost(1);
        }
    }
    m_stream.Deliver(parcel);
}

void SimulatedDevice::OnDelayedFrame(const BusEvent& event) {
    const Lock filling(m_stream.GetFillMutex());
    SimulatedStream::Parcel parcel;
    {
        const Lock lock(m_bus.GetMutex());
        parcel = m_stream.TakeDelayed(event);
    }
    m_stream.Deliver(parcel);
}

void SimulatedDevice::SetEventOutlet(boost::shared_ptr<EventOutlet> pOutlet) {
    const Lock lock(m_bus.GetMutex());
    m_pOutlet = std::move(pOutlet);
    m_pendingEvents.clear();
}

void SimulatedDevice::Emit(CameraEvent event, unsigned long long time, unsigned int number) {
    if (m_pOutlet && m_pOutlet->HasSink()) {
        m_pendingEvents.push_back(MakeCameraEvent(event, time, number));
    }
}

void SimulatedDevice::FlushEvents() {
    boost::shared_ptr<EventOutlet> pOutlet;
    {
        const Lock lock(m_bus.GetMutex());
        if (m_pendingEvents.empty()) {
            return;
        }
        pOutlet = m_pOutlet;
    }
    if (pOutlet) {
        pOutlet->Deliver([this] {
            const Lock lock(m_bus.GetMutex());
            return std::exchange(m_pendingEvents, {});
        });
    }
}

}  // namespace Zevrin
