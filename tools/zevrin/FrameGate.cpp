#include "FrameGate.h"

namespace ZevrinTool {

bool FrameGate::IsFirstOfGroup(unsigned long long number) {
    constexpr std::size_t kMaxRemembered = 64;  // groups that a late frame may belong to
    const unsigned long long group = number / m_every;
    if (m_groups.size() == kMaxRemembered && group < *m_groups.begin()) {
        return false;
    }
    const bool isFirst = m_groups.insert(group).second;
    if (m_groups.size() > kMaxRemembered) {
        m_groups.erase(m_groups.begin());
    }
    return isFirst;
}

bool FrameGate::Keep(unsigned long long number, unsigned long long burstNumber) {
    if (burstNumber != m_burstNumber) {
        m_burstNumber = burstNumber;
        m_left = m_burst;
    }
    if (m_every > 1 && !IsFirstOfGroup(number)) {
        return false;
    }
    if (m_burst == 0) {
        return true;
    }
    if (m_left == 0) {
        return false;
    }
    --m_left;
    return true;
}

}  // namespace ZevrinTool
