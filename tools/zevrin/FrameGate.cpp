#include "FrameGate.h"

namespace ZevrinTool {

bool FrameGate::Keep(unsigned long long number, unsigned long long burstNumber) {
    if (!m_hasFirst) {
        m_hasFirst = true;
        m_next = number;
    }
    if (burstNumber != m_burstNumber) {
        m_burstNumber = burstNumber;
        m_left = m_burst;
    }
    if (number < m_next) {
        return false;
    }
    m_next += ((number - m_next) / m_every + 1) * m_every;
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
