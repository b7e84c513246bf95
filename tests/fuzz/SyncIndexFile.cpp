#include "SyncIndex.h"

#include <sys/mman.h>
#include <unistd.h>

#include "Fuzz.h"
#include "SyncVerify.h"
#include "Tool.h"

namespace {

using namespace Zevrin;
using namespace ZevrinTool;

SyncIndexReading ReadText(const std::string& text) {
    static const int handle = memfd_create("index", MFD_CLOEXEC);
    Require(ftruncate(handle, 0) == 0 && pwrite(handle, text.data(), text.size(), 0) >= 0, "there is a file");
    return ReadSyncIndex("/proc/self/fd/" + std::to_string(handle));
}

void Run(const std::uint8_t* bytes, std::size_t size) {
    try {
        const SyncIndexReading reading = ReadText(std::string(reinterpret_cast<const char*>(bytes), size));
        for (const std::string& problem : reading.problems) {
            RequirePrintable(problem);
        }
        const SyncIndexReading again = ReadText(FormatSyncIndex(reading.index));
        Require(again.problems.empty() && again.index.entries.size() == reading.index.entries.size(),
                "what was read can be written and read again");
        const SyncReport report = Analyze(reading.index);
    } catch (const ToolFailure& failure) {
        RequirePrintable(failure.what());
    }
}

const FuzzHarness kHarness("SyncIndexFile", Run);

}  // namespace
