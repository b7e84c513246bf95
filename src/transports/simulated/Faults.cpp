#include "Faults.h"

#include <algorithm>

namespace Zevrin {

namespace {

bool Contains(const std::vector<unsigned int>& numbers, unsigned int number) {
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

}  // namespace

Faults::Faults(const FaultDescription& description)
    : m_description(description), m_random(description.seed) {}

/// Draws by hand: the standard's distributions differ from library to library.
bool Faults::Chance(double share) {
    return share > 0 && static_cast<double>(m_random()) < share * 4294967296.0;
}

bool Faults::FailsAccess() {
    ++m_accesses;
    return Chance(m_description.registerShare) || Contains(m_description.registerAccesses, m_accesses);
}

bool Faults::FailsAddress(unsigned int commandOffset) const {
    return Contains(m_description.registerAddresses, commandOffset);
}

unsigned int Faults::NextLatency(bool isWrite) {
    const unsigned int jitter = m_description.latencyJitterUs;
    return (isWrite ? m_description.writeLatencyUs : m_description.readLatencyUs) +
           (jitter != 0 ? static_cast<unsigned int>(m_random() % (jitter + 1ULL)) : 0);
}

void Faults::SetLatency(unsigned int readUs, unsigned int writeUs, unsigned int jitterUs) {
    m_description.readLatencyUs = readUs;
    m_description.writeLatencyUs = writeUs;
    m_description.latencyJitterUs = jitterUs;
}

void Faults::BeginSending() {
    ++m_starts;
    const FaultDescription::Silence& silence = m_description.silent;
    const bool isSilent = silence.starts.empty() || Contains(silence.starts, m_starts);
    m_silentFrames = isSilent ? silence.frames : 0;
}

FrameFate Faults::NextFrame() {
    if (m_silentFrames != 0) {
        --m_silentFrames;
        return FrameFate::kSilent;
    }
    ++m_frames;
    const struct {
        const FrameFault& fault;
        FrameFate fate;
    } candidates[] = {{m_description.drop, FrameFate::kDropped},
                      {m_description.corrupt, FrameFate::kCorrupt},
                      {m_description.duplicate, FrameFate::kDuplicated},
                      {m_description.delay, FrameFate::kDelayed}};
    FrameFate fate = FrameFate::kArrives;
    for (const auto& candidate : candidates) {
        const bool isHit = Chance(candidate.fault.share) || Contains(candidate.fault.frames, m_frames);
        if (isHit && fate == FrameFate::kArrives) {
            fate = candidate.fate;
        }
    }
    return fate;
}

}  // namespace Zevrin
