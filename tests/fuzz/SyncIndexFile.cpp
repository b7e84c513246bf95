#include "SyncIndex.h"

#include <sys/types.h>
#include <unistd.h>

#include <cstdlib>

#include "Fuzz.h"
#include "SyncVerify.h"
#include "Tool.h"

namespace {

using namespace Zevrin;
using namespace ZevrinTool;

/// A file of its own for as long as the program runs: an index has to be a regular one.
class IndexFile {
  public:
    IndexFile() : m_handle(mkstemp(m_path)) { Require(m_handle >= 0, "there is a file"); }
    ~IndexFile() {
        close(m_handle);
        unlink(m_path);
    }
    IndexFile(const IndexFile&) = delete;
    IndexFile& operator=(const IndexFile&) = delete;

    SyncIndexReading Read(const std::string& text) const {
        Require(ftruncate(m_handle, 0) == 0 &&
                    pwrite(m_handle, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
                "the file can be written");
        return ReadSyncIndex(m_path);
    }

  private:
    char m_path[32] = "/tmp/zevrin-index-XXXXXX";
    const int m_handle;
};

void Run(const std::uint8_t* bytes, std::size_t size) {
    static const IndexFile file;
    try {
        const SyncIndexReading reading = file.Read(std::string(reinterpret_cast<const char*>(bytes), size));
        for (const std::string& problem : reading.problems.GetLines()) {
            RequirePrintable(problem);
        }
        const SyncIndexReading again = file.Read(FormatSyncIndex(reading.index));
        Require(again.problems.Count() == 0 && again.index.entries.size() == reading.index.entries.size(),
                "what was read can be written and read again");
        const SyncReport report = Analyze(reading.index);
    } catch (const ToolFailure& failure) {
        RequirePrintable(failure.what());
    }
}

const FuzzHarness kHarness("SyncIndexFile", Run);

}  // namespace
