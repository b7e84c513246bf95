#include "SyncIndex.h"

#include "InputFile.h"
#include "SyncVerify.h"
#include "Tool.h"

namespace {

using namespace Zevrin;
using namespace ZevrinTool;

void Run(const std::uint8_t* bytes, std::size_t size) {
    static const InputFile file;
    try {
        const SyncIndexReading reading =
            ReadSyncIndex(file.Hold(std::string(reinterpret_cast<const char*>(bytes), size)));
        for (const std::string& problem : reading.problems.GetLines()) {
            RequirePrintable(problem);
        }
        const SyncIndexReading again = ReadSyncIndex(file.Hold(FormatSyncIndex(reading.index)));
        Require(again.problems.Count() == 0 && again.index.entries.size() == reading.index.entries.size(),
                "what was read can be written and read again");
        const SyncReport report = Analyze(reading.index);
    } catch (const ToolFailure& failure) {
        RequirePrintable(failure.what());
    }
}

const FuzzHarness kHarness("SyncIndexFile", Run);

}  // namespace
