#pragma once

#include <array>
#include <limits>

#include "DeviceLayout.h"
#include "RegisterFile.h"

namespace Zevrin {

/// The camera's pins 0 to 3: inputs that the outside drives, outputs that carry a strobe or what the
/// program writes. In words of pins, the standard's bit n is pin n.
/// Threads: one at a time.
class Pins {
  public:
    /// Whether that is a change that the camera notices.
    bool SetInput(const RegisterFile& registers, unsigned int pin, bool isHigh);

    /// Moves on whenever the outside drives a pin anew: the end of an earlier pulse is void then.
    unsigned int NextInputEpoch(unsigned int pin) { return ++m_inputEpochs[pin]; }
    unsigned int GetInputEpoch(unsigned int pin) const { return m_inputEpochs[pin]; }

    /// The present levels.
    unsigned int GetLevels(const RegisterFile& registers, unsigned long long now) const;
    bool IsHigh(const RegisterFile& registers, unsigned int pin, unsigned long long now) const;

    // What strobes follow, in nanoseconds of the bus clock.

    void BeginExposure(unsigned long long time) {
        m_exposureStart = time;
        m_exposureEnd = kNever;
        m_hasExposed = true;
    }
    void EndExposure(unsigned long long time) { m_exposureEnd = time; }

  private:
    static constexpr unsigned long long kNever = std::numeric_limits<unsigned long long>::max();

    bool IsStrobeActive(unsigned int control, unsigned long long now) const;

    unsigned int m_inputs = 0;
    std::array<unsigned int, kPinCount> m_inputEpochs{};
    bool m_hasExposed = false;
    unsigned long long m_exposureStart = 0;
    unsigned long long m_exposureEnd = 0;
};

}  // namespace Zevrin
