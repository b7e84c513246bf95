#pragma once

#include <random>

#include "Description.h"

namespace Zevrin {

/// What becomes of one frame on its way.
enum class FrameFate { kArrives, kDropped, kCorrupt, kDuplicated, kDelayed };

/// Decides what goes wrong, repeatably: the same seed and the same order of accesses and frames give the
/// same faults.
/// Threads: one at a time.
class Faults {
  public:
    explicit Faults(const FaultDescription& description);

    /// Whether this access fails as a whole. Each call counts one.
    bool FailsAccess();
    bool FailsAddress(unsigned int commandOffset) const;

    /// Microseconds that an access takes.
    unsigned int NextLatency(bool isWrite);

    FrameFate NextFrame();
    unsigned int GetDelayUs() const { return m_description.delayUs; }

  private:
    bool Chance(double share);

    FaultDescription m_description;
    std::mt19937 m_random;
    unsigned int m_accesses = 0;
    unsigned int m_frames = 0;
};

}  // namespace Zevrin
