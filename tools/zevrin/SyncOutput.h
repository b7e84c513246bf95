#pragma once

#include <zevrin/SyncReport.h>

#include "Output.h"
#include "Tool.h"

namespace ZevrinTool {

/// Shows a report on standard output: tables and a histogram, or the document for programs with `extra` in
/// front.
void ShowSyncReport(const Tool& tool, const Zevrin::SyncReport& report, const Json& extra);

/// "not in step: ..." with all reasons, for a `ToolFailure`.
std::string DescribeReasons(const Zevrin::SyncReport& report);

}  // namespace ZevrinTool
