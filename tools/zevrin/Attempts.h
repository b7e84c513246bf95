#pragma once

#include <functional>
#include <string>

#include "Tool.h"

namespace ZevrinTool {

/// Does what can be done, each thing on its own; what failed is told at the end.
class Attempts {
  public:
    /// False when the work throws.
    bool Try(const std::function<void()>& work);

    /// Throws `ToolFailure` with all that failed, and the exit code of the first.
    void Conclude() const;

  private:
    ExitCode m_exitCode = kExitGood;
    std::string m_failures;
};

}  // namespace ZevrinTool
