#include "Attempts.h"

namespace ZevrinTool {

bool Attempts::Try(const std::function<void()>& work) {
    const WorkEnd end = RunToItsEnd(work);
    if (end.exitCode == kExitGood) {
        return true;
    }
    m_exitCode = m_exitCode == kExitGood ? end.exitCode : m_exitCode;
    m_failures += (m_failures.empty() ? "" : "\nzevrin: ") + end.failure;
    return false;
}

void Attempts::Conclude() const {
    if (m_exitCode != kExitGood) {
        throw ToolFailure(m_exitCode, m_failures);
    }
}

}  // namespace ZevrinTool
