#include "SyncVerify.h"

#include <memory>

#include "CommandLine.h"
#include "SyncOutput.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

void Verify(const Tool& tool, const std::string& folder) {
    SyncIndexReading reading = ReadSyncIndex(folder + "/" + kSyncIndexName);
    std::vector<std::string>& problems = reading.problems;
    const std::vector<std::string> missing = FindMissingFiles(reading.index, folder);
    problems.insert(problems.end(), missing.begin(), missing.end());
    for (const std::string& problem : problems) {
        Complain(problem);
    }
    if (reading.index.entries.empty()) {
        throw ToolFailure(kExitFailed, "the index holds no image to be judged by");
    }
    const Zevrin::SyncReport report = Analyze(reading.index);
    ShowSyncReport(tool, report, {{"problems", problems}});
    if (!report.isInStep) {
        throw ToolFailure(kExitFailed, DescribeReasons(report));
    }
    if (!problems.empty()) {
        throw ToolFailure(kExitFailed,
                          "the record of the run is not whole: " + std::to_string(problems.size()) +
                              (problems.size() == 1 ? " problem" : " problems"));
    }
}

constexpr char kFooter[] =
    R"(Judges by the time stamps in DIR/index.jsonl, as `zevrin sync -o DIR` wrote it, and looks whether the images are
there. The exit code is 1 when the cameras were not in step or the record is not whole.

Examples:
  zevrin sync -n 5 -o run
  zevrin sync verify run
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
    Zevrin::SyncReport report;
    Check(Zevrin::AnalyzeSync(index.cameras, RecordsOf(index), &report));
    return report;
}

CLI::App* AddSyncVerifyVerb(CLI::App& sync, Tool& tool) {
    CLI::App* const pVerb = AddVerb(sync, "verify", "Judges a recorded run again", kFooter);
    auto pFolder = std::make_shared<std::string>();
    pVerb->add_option("DIR", *pFolder, "Folder of the run")->required();
    pVerb->callback([&tool, pFolder] { tool.run = [&tool, pFolder] { Verify(tool, *pFolder); }; });
    return pVerb;
}

}  // namespace ZevrinTool
