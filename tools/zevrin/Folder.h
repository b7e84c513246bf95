#pragma once

#include <string>

namespace ZevrinTool {

/// Makes a folder that files are to be written to, unless it is there. To be called before a camera is
/// touched: a folder that cannot be written to is no reason to start a stream. Throws `ToolFailure`.
void PrepareFolder(const std::string& folder);

}  // namespace ZevrinTool
