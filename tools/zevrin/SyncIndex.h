#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <zevrin/SyncReport.h>

namespace ZevrinTool {

/// An image of a synchronized run, and the file that it went to.
struct SyncEntry {
    Zevrin::SyncRecord record;
    bool isWanted = false;         ///< a file was to be written
    std::string file;              ///< without folders; empty: it was not written
    unsigned long long bytes = 0;  ///< of the file
    unsigned int width = 0;        ///< pixels
    unsigned int height = 0;       ///< pixels
    unsigned long long stride = 0;
    std::string pixelFormat;
};

/// A recorded run: JSON documents, one on each line, the first of which describes the others.
struct SyncIndex {
    std::vector<unsigned int> cameras;
    std::vector<SyncEntry> entries;
};

/// Sentences about what is wrong. The first hundred are kept, the others counted.
class SyncProblems {
  public:
    void Add(const std::string& problem);
    std::size_t Count() const { return m_count; }
    const std::vector<std::string>& GetLines() const { return m_lines; }

    /// Tells them on standard error.
    void Complain() const;

  private:
    std::vector<std::string> m_lines;
    std::size_t m_count = 0;
};

std::string FormatSyncIndex(const SyncIndex& index);

/// What is good of an index that may come from anywhere, and a sentence for every line that is not.
struct SyncIndexReading {
    SyncIndex index;
    SyncProblems problems;
};

/// Throws `ToolFailure` when there is no such regular file or its first line is not that of an index.
SyncIndexReading ReadSyncIndex(const std::string& path);

/// Takes out the images whose time stamps are out of range, with a sentence for each.
void SetBadStampsAside(SyncIndex* pIndex, SyncProblems* pProblems);

/// How many images were to be written and were not.
std::size_t CountUnwritten(const SyncIndex& index);

/// A sentence for every image that is not in `folder` as the index says, and one for all that were to be
/// written and were not.
void FindMissingFiles(const SyncIndex& index, const std::string& folder, SyncProblems* pProblems);

}  // namespace ZevrinTool
