#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>

#include "SimulatedBus.h"

namespace Zevrin {

class SimulatedDevice;
struct ImageSetup;
struct TriggerSettings;

/// Decides when a camera exposes: at its frame rate, on triggers, or a number of times.
/// Threads: with the bus's mutex held.
class ExposureSequencer {
  public:
    ExposureSequencer(SimulatedDevice& device, SimulatedBus& bus) : m_device(device), m_bus(bus) {}
    ExposureSequencer(const ExposureSequencer&) = delete;
    ExposureSequencer& operator=(const ExposureSequencer&) = delete;

    bool IsSending() const { return m_isSending; }

    /// Of frames that are counted, how many are still to come; 0 of those that are not.
    unsigned int GetFramesLeft() const { return m_framesLeft; }

    /// Exposures since power-up: the number of the last frame.
    unsigned int GetExposureCount() const { return m_exposureCount; }
    unsigned int GetTriggerCount() const { return m_triggerCount; }

    /// @param frames  how many; 0: until it is stopped, which takes over from frames that are counted
    /// @param time    from when the frames count, nanoseconds of the bus clock
    /// Whether frames begin anew with it.
    bool Start(unsigned int frames, unsigned long long time);

    /// An exposure under way is not sent.
    void Stop();

    void PowerUp();

    // Settings have changed.

    void FollowFrameRate();
    void FollowTrigger();

    /// The trigger source that is chosen became active or inactive.
    void OnSignal(bool isActive);

    void OnExposureDue(const BusEvent& event);

    /// What is to be sent now; null when the event is void.
    boost::shared_ptr<const Exposure> OnExposureEnd(const BusEvent& event);

  private:
    void Arm(unsigned long long time);
    double GetPeriodNs() const;
    void ScheduleByRate(unsigned long long after);
    void Schedule(BusEvent::Kind kind, unsigned long long time, unsigned int epoch,
                  boost::shared_ptr<const Exposure> pExposure);
    void TakeTrigger(unsigned long long now, const TriggerSettings& trigger);
    void Begin(unsigned long long time);
    void BeginNextShot(unsigned long long now);

    SimulatedDevice& m_device;
    SimulatedBus& m_bus;

    bool m_isSending = false;
    unsigned int m_framesLeft = 0;    ///< 0: until it is stopped
    unsigned int m_epoch = 0;         ///< moves on when exposures are void
    unsigned int m_dueEpoch = 0;      ///< moves on when only those that have not begun are
    unsigned long long m_origin = 0;  ///< frames are due at multiples of their period from here on
    unsigned int m_exposureCount = 0;
    unsigned int m_triggerCount = 0;
    unsigned int m_overrunCount = 0;

    bool m_isDelayed = false;  ///< a trigger was taken, its exposure is due
    bool m_isOpen = false;     ///< exposing for as long as the trigger is active
    unsigned int m_shotsLeft = 0;
    unsigned long long m_begin = 0;  ///< of the last exposure
    unsigned long long m_busyUntil = 0;
};

}  // namespace Zevrin
