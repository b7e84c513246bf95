#include "ExposureSequencer.h"

#include <algorithm>
#include <utility>

#include "CameraEvents.h"
#include "CameraSettings.h"
#include "SimulatedDevice.h"

namespace Zevrin {

namespace {

constexpr double kNanosecondsPerSecond = 1e9;

// A machine that is too slow leaves frames out rather than falling behind for ever.
constexpr unsigned long long kMaxLagNs = 500000000;

// The standard's trigger modes.
constexpr unsigned int kModeLevel = 1;
constexpr unsigned int kModeOverlapped = 14;
constexpr unsigned int kModeMultiShot = 15;

}  // namespace

void ExposureSequencer::PowerUp() {
    m_exposureCount = 0;
    m_triggerCount = 0;
    m_overrunCount = 0;
}

bool ExposureSequencer::Start(unsigned int frames, unsigned long long time) {
    const bool begins = !m_isSending || (frames == 0 && m_framesLeft != 0);
    m_framesLeft = frames;
    if (begins) {
        m_isSending = true;
        m_origin = time;
        Arm(time);
    }
    return begins;
}

void ExposureSequencer::Stop() {
    if (m_isSending) {
        m_isSending = false;
        ++m_epoch;
        ++m_dueEpoch;
        m_device.GetPins().EndExposure(m_bus.GetTime());
    }
}

/// After this moment exposures begin anew; one under way is not sent.
void ExposureSequencer::Arm(unsigned long long time) {
    m_device.GetPins().EndExposure(m_bus.GetTime());
    ++m_epoch;
    ++m_dueEpoch;
    m_isDelayed = false;
    m_isOpen = false;
    m_shotsLeft = 0;
    m_busyUntil = 0;
    if (!ReadTrigger(m_device.GetRegisters()).isOn) {
        ScheduleByRate(time);
    }
}

void ExposureSequencer::FollowTrigger() {
    if (m_isSending) {
        Arm(m_bus.GetTime());
    }
}

void ExposureSequencer::FollowFrameRate() {
    if (m_isSending && !ReadTrigger(m_device.GetRegisters()).isOn) {
        ++m_dueEpoch;
        ScheduleByRate(std::max(m_bus.GetTime(), m_busyUntil));
    }
}

void ExposureSequencer::Schedule(BusEvent::Kind kind, unsigned long long time, unsigned int epoch,
                                 boost::shared_ptr<const Exposure> pExposure) {
    BusEvent event;
    event.kind = kind;
    event.time = time;
    event.epoch = epoch;
    event.pDevice = &m_device;
    event.pExposure = std::move(pExposure);
    m_bus.Schedule(std::move(event));
}

/// The camera's own oscillator counts the period out: one that runs fast makes it shorter.
double ExposureSequencer::GetPeriodNs() const {
    constexpr double kMillion = 1e6;
    return m_device.GetImageSetup().period * kNanosecondsPerSecond /
           (1 + m_device.GetClockErrorPpm() / kMillion);
}

/// Schedules the first frame that is due after `after`.
void ExposureSequencer::ScheduleByRate(unsigned long long after) {
    const double period = GetPeriodNs();
    const auto timeOf = [&](unsigned long long count) {
        return m_origin + static_cast<unsigned long long>(static_cast<double>(count) * period);
    };
    auto count = static_cast<unsigned long long>(static_cast<double>(after - m_origin) / period);
    while (timeOf(count) <= after) {
        ++count;
    }
    Schedule(BusEvent::Kind::kExposureDue, timeOf(count), m_dueEpoch, nullptr);
}

void ExposureSequencer::OnExposureDue(const BusEvent& event) {
    if (event.epoch != m_dueEpoch) {
        return;
    }
    m_isDelayed = false;
    Begin(event.time);
    if (!ReadTrigger(m_device.GetRegisters()).isOn) {
        const unsigned long long now = m_bus.GetTime();
        ScheduleByRate(std::max(event.time, now - std::min(now, kMaxLagNs)));
    }
}

void ExposureSequencer::Begin(unsigned long long time) {
    m_device.AdjustSettings();
    const ImageSetup setup = m_device.GetImageSetup();
    const TriggerSettings trigger = ReadTrigger(m_device.GetRegisters());
    ++m_exposureCount;
    m_begin = time;
    m_device.GetPins().BeginExposure(time);
    m_device.Emit(CameraEvent::kExposureStart, time, m_exposureCount);
    if (trigger.isOn && trigger.mode == kModeLevel) {
        m_isOpen = true;
        return;
    }
    unsigned long long exposure = ReadShutterNs(m_device.GetRegisters());
    if (!trigger.isOn) {
        exposure = std::min(exposure, static_cast<unsigned long long>(GetPeriodNs()));
    }
    m_busyUntil = time + exposure;
    if (trigger.isOn && trigger.mode != kModeOverlapped) {
        m_busyUntil += setup.readoutNs;
    }
    m_device.GetPins().EndExposure(time + exposure);
    Schedule(BusEvent::Kind::kExposureEnd, time + exposure, m_epoch, m_device.MakeExposure(time, exposure));
}

boost::shared_ptr<const Exposure> ExposureSequencer::OnExposureEnd(const BusEvent& event) {
    const bool isOpenEnd = !event.pExposure;
    if (event.epoch != m_epoch || (isOpenEnd && !m_isOpen)) {
        return nullptr;
    }
    boost::shared_ptr<const Exposure> pExposure = event.pExposure;
    if (isOpenEnd) {
        m_isOpen = false;
        m_busyUntil = event.time + m_device.GetImageSetup().readoutNs;
        m_device.GetPins().EndExposure(event.time);
        pExposure = m_device.MakeExposure(m_begin, event.time - m_begin);
    }
    m_device.Emit(CameraEvent::kExposureEnd, event.time, pExposure->picture.frameNumber);
    m_device.Emit(CameraEvent::kFrameStart, event.time, pExposure->picture.frameNumber);
    if (m_framesLeft != 0 && --m_framesLeft == 0) {
        m_device.StopShots();
    } else {
        BeginNextShot(event.time);
    }
    return pExposure;
}

/// One trigger, many exposures.
void ExposureSequencer::BeginNextShot(unsigned long long now) {
    if (m_shotsLeft != 0) {
        --m_shotsLeft;
        m_isDelayed = true;
        const unsigned long long byRate = m_begin + static_cast<unsigned long long>(GetPeriodNs());
        Schedule(BusEvent::Kind::kExposureDue, std::max({byRate, m_busyUntil, now}), m_dueEpoch, nullptr);
    }
}

void ExposureSequencer::OnSignal(bool isActive) {
    const TriggerSettings trigger = ReadTrigger(m_device.GetRegisters());
    if (!m_isSending || !trigger.isOn) {
        return;
    }
    const unsigned long long now = m_bus.GetTime();
    if (isActive) {
        TakeTrigger(now, trigger);
    } else if (trigger.mode == kModeLevel && (m_isOpen || m_isDelayed)) {
        Schedule(BusEvent::Kind::kExposureEnd, now + trigger.delayNs, m_epoch, nullptr);
    }
}

void ExposureSequencer::TakeTrigger(unsigned long long now, const TriggerSettings& trigger) {
    if (m_isDelayed || m_isOpen || m_shotsLeft != 0 || now < m_busyUntil) {
        m_device.Emit(CameraEvent::kOverrun, now, ++m_overrunCount);
        return;
    }
    m_device.Emit(CameraEvent::kTrigger, now, ++m_triggerCount);
    m_shotsLeft = trigger.mode == kModeMultiShot ? std::max(trigger.parameter, 1U) - 1 : 0;
    if (trigger.delayNs == 0) {
        Begin(now);
    } else {
        m_isDelayed = true;
        Schedule(BusEvent::Kind::kExposureDue, now + trigger.delayNs, m_dueEpoch, nullptr);
    }
}

}  // namespace Zevrin
