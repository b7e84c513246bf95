#pragma once

#include <string>

namespace ZevrinTool {

/// Makes the folder when it is missing; a file in it that may not grow is an error like a full disk from here
/// on, and no signal. Before a camera is touched: a folder that cannot be written to is no
/// reason to start a stream. Throws `ToolFailure`.
void PrepareFolder(const std::string& folder);

/// The list of what a recording holds, in the recording's own folder.
constexpr char kIndexName[] = "index.jsonl";

/// A recording is not written over, nor mixed with another: throws `ToolFailure` when the folder holds one.
void RequireNoRecording(const std::string& folder);

/// Bytes that this user can still write below a folder. Throws `ToolFailure`.
unsigned long long GetFreeSpace(const std::string& folder);

}  // namespace ZevrinTool
