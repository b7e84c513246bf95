#include "FrameIds.h"

namespace Zevrin {

namespace {

constexpr unsigned long long kMaxShortId = 65535;
constexpr unsigned long long kMaxGap = kMaxShortId / 2;  // more is taken for a new beginning
constexpr unsigned long long kNearWrap = 256;            // frames

}  // namespace

/// Just before the wrap a lower number is the wrap, also where a new beginning may come: a camera that counts
/// on is there each round, one that begins anew hardly ever.
unsigned long long FrameIds::DistanceTo(unsigned long long received) const {
    if (received >= m_received) {
        return received - m_received;
    }
    const bool isWrap = m_received <= kMaxShortId && (!m_mayRestart || m_received > kMaxShortId - kNearWrap);
    return isWrap ? received + kMaxShortId - m_received : kMaxGap + 1;
}

FrameIds::Step FrameIds::Next(unsigned long long received) {
    unsigned long long distance = m_isFirst ? 1 : DistanceTo(received);
    if (distance > kMaxGap) {
        distance = 1;
    }
    m_id = m_isFirst ? received : m_id + distance;
    // A straggler may come before the new beginning; the very first frame is one.
    m_mayRestart = m_mayRestart && !m_isFirst && received >= m_received;
    m_received = received;
    m_isFirst = false;
    return {m_id, distance > 1 ? static_cast<unsigned int>(distance - 1) : 0};
}

FrameIds::Step FrameIds::NextWithoutNumber() {
    return m_isFirst ? Step() : Next(m_received != kMaxShortId ? m_received + 1 : 1);
}

}  // namespace Zevrin
