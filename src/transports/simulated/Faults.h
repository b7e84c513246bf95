#pragma once

#include <random>

#include "Description.h"

namespace Zevrin {

/// What becomes of one frame on its way.
enum class FrameFate { kArrives, kSilent, kDropped, kCorrupt, kDuplicated, kDelayed };

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
    void SetLatency(unsigned int readUs, unsigned int writeUs, unsigned int jitterUs);

    /// The camera was switched on: from here on it may be silent for a while.
    void BeginSending();

    FrameFate NextFrame();
    unsigned int GetDelayUs() const { return m_description.delayUs; }

  private:
    bool Chance(double share);

    FaultDescription m_description;
    std::mt19937 m_random;
    unsigned int m_accesses = 0;
    unsigned int m_frames = 0;
    unsigned int m_starts = 0;
    unsigned int m_silentFrames = 0;  ///< still to come
};

}  // namespace Zevrin
