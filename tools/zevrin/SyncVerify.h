#pragma once

#include <vector>

#include <zevrin/SyncReport.h>

#include "SyncIndex.h"

namespace CLI {
class App;
}

namespace ZevrinTool {

struct Tool;

std::vector<Zevrin::SyncRecord> RecordsOf(const SyncIndex& index);

/// Throws `ToolFailure` when the index holds nothing to be judged.
Zevrin::SyncReport Analyze(const SyncIndex& index);

/// Throws `ToolFailure` unless the cameras were in step, proved it, and the record is whole.
void Conclude(const SyncIndex& index, const Zevrin::SyncReport& report, const SyncProblems& problems);

/// Adds `verify` to the verb `sync`.
CLI::App* AddSyncVerifyVerb(CLI::App& sync, Tool& tool);

}  // namespace ZevrinTool
