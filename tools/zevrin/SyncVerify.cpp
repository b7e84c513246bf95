#include "SyncVerify.h"

#include <algorithm>
#include <memory>

#include "CommandLine.h"
#include "Folder.h"
#include "SyncOutput.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

void Verify(const Tool& tool, const std::string& folder) {
    SyncIndexReading reading = ReadSyncIndex(folder + "/" + kIndexName);
    FindMissingFiles(reading.index, folder, &reading.problems);
    reading.problems.Complain();
    const Zevrin::SyncReport report = Analyze(reading.index);
    ShowSyncReport(tool, report, {{"problems", reading.problems.GetLines()}});
    Conclude(reading.index, report, reading.problems);
}

constexpr char kFooter[] =
    R"(Judges by the time stamps in DIR/index.jsonl, as `zevrin sync -o DIR` wrote it, and looks whether the images are
there. The exit code is 1 when the cameras were not in step or the record is not whole.

Examples:
  zevrin sync -n 5 -o in-step
  zevrin sync verify in-step
)";

}  // namespace

std::vector<Zevrin::SyncRecord> RecordsOf(const SyncIndex& index) {
    std::vector<Zevrin::SyncRecord> records;
    records.reserve(index.entries.size());
    for (const SyncEntry& entry : index.entries) {
        records.push_back(entry.record);
    }
    return records;
}

Zevrin::SyncReport Analyze(const SyncIndex& index) {
    if (index.entries.empty()) {
        throw ToolFailure(kExitFailed, "the index holds no image to be judged by");
    }
    Zevrin::SyncReport report;
    Check(Zevrin::AnalyzeSync(index.cameras, RecordsOf(index), &report));
    return report;
}

void Conclude(const SyncIndex& index, const Zevrin::SyncReport& report, const SyncProblems& problems) {
    if (!report.isInStep) {
        throw ToolFailure(kExitFailed, DescribeReasons(report));
    }
    const bool isStamped =
        std::any_of(index.entries.begin(), index.entries.end(), [](const SyncEntry& entry) {
            return entry.record.cycleSeconds + entry.record.cycleCount + entry.record.cycleOffset > 0;
        });
    if (!isStamped && index.cameras.size() > 1) {
        throw ToolFailure(kExitFailed,
                          "all time stamps are 0, which proves nothing: the cameras do not stamp");
    }
    if (problems.Count() > 0) {
        throw ToolFailure(kExitFailed,
                          "the record of the run is not whole: " + std::to_string(problems.Count()) +
                              (problems.Count() == 1 ? " problem" : " problems"));
    }
}

CLI::App* AddSyncVerifyVerb(CLI::App& sync, Tool& tool) {
    CLI::App* const pVerb = AddVerb(sync, "verify", "Judges a recorded run again", kFooter);
    auto pFolder = std::make_shared<std::string>();
    pVerb->add_option("DIR", *pFolder, "Folder of the run")->required();
    pVerb->callback([&tool, pFolder] { tool.run = [&tool, pFolder] { Verify(tool, *pFolder); }; });
    return pVerb;
}

}  // namespace ZevrinTool
