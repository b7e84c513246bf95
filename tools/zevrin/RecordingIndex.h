#pragma once

#include <mutex>
#include <string>

#include "Output.h"

namespace ZevrinTool {

/// The list of a recording's files: one line of JSON for each, whole whenever it is there.
/// Threads: any.
class RecordingIndex {
  public:
    /// A recording in the same folder is not overwritten. Throws `ToolFailure`.
    explicit RecordingIndex(const std::string& folder);
    ~RecordingIndex();
    RecordingIndex(const RecordingIndex&) = delete;
    RecordingIndex& operator=(const RecordingIndex&) = delete;

    /// Makes sure that a line finds room on the disk, before the file is written that it will tell of.
    /// Throws `ToolFailure`.
    void Reserve();

    /// Throws `ToolFailure`; nothing has been added then.
    void Append(const Json& entry);

    const std::string& GetPath() const { return m_path; }

  private:
    [[noreturn]] void Fail(int errorNumber) const;

    const std::string m_path;
    int m_descriptor = -1;
    std::mutex m_mutex;  // guards what follows
    long long m_size = 0;
    long long m_reserved = 0;
};

}  // namespace ZevrinTool
