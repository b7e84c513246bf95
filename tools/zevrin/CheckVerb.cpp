#include <memory>
#include <sstream>

#include "CameraConfig.h"
#include "CameraVerb.h"
#include "CheckRun.h"
#include "CommandLine.h"
#include "Interruption.h"
#include "Numbers.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Group = void (*)(CheckRun&);

/// Those that change what others depend on, such as formats, come late.
const struct {
    const char* name;
    Group pRun;
} kGroups[] = {{"registers", CheckRegisters},
               {"properties", CheckProperties},
               {"strobes", CheckStrobes},
               {"embedded", CheckEmbedded},
               {"lut", CheckLut},
               {"memory", CheckMemory},
               {"trigger", CheckTrigger},
               {"time", CheckTime},
               {"formats", CheckFormats}};

const Choices kGroupNames = [] {
    Choices names;
    for (const auto& group : kGroups) {
        names.push_back({group.name, static_cast<unsigned int>(names.size())});
    }
    return names;
}();

struct Request {
    unsigned int groups = ~0U;  ///< bit n: number n of them
    unsigned int timeoutMs = 2000;
};

const char* const kVerdicts[] = {"pass", "fail", "absent"};

/// What could not be read before the checks cannot be put back after them.
std::string ReportUnread(const CameraConfig& config) {
    const Findings& unread = config.unread;
    Require(unread.empty(), unread.empty() ? ""
                                           : std::to_string(unread.size()) + " settings cannot be read, " +
                                                 unread.front().path + ": " + unread.front().reason);
    return "every setting";
}

std::string Restore(Zevrin::IidcCamera& camera, const Json& before) {
    const Findings failed = ApplyConfig(PlanConfig(before, camera));
    Require(failed.empty(), failed.empty() ? "" : failed.front().path + ": " + failed.front().reason);
    const std::vector<ConfigChange> changes = CompareConfigs(before, ReadConfig(camera).document);
    Require(changes.empty(), changes.empty() ? ""
                                             : changes.front().path + " was " + Quote(changes.front().to) +
                                                   " and is " + Quote(changes.front().from));
    return "as it was found";
}

void Show(const Target& target, const CheckRun& run) {
    std::vector<Facts> rows;
    for (const CheckRow& row : run.GetRows()) {
        rows.push_back({{"Group", "group", row.group, ""},
                        {"Check", "check", row.name, ""},
                        {"Verdict", "verdict", kVerdicts[row.verdict], ""},
                        {"Reason", "reason", row.reason, ""}});
    }
    target.Show({{"Passed", "passed", run.Count(kCheckPass), ""},
                 {"Failed", "failed", run.Count(kCheckFail), ""},
                 {"Absent", "absent", run.Count(kCheckAbsent), ""}},
                "checks", rows);
}

void RunChecks(const Target& target, const Request& request) {
    CatchInterruptions();
    CheckRun run(target.camera, request.timeoutMs);
    const CameraConfig before = ReadConfig(target.camera);
    run.Begin("state");
    run.TryAlways("read", [&] { return ReportUnread(before); });
    for (const Choice& name : kGroupNames) {
        if ((request.groups >> name.value & 1) != 0) {
            run.Begin(name.word);
            kGroups[name.value].pRun(run);
        }
    }
    run.Begin("state");
    run.TryAlways("restored", [&] { return Restore(target.camera, before.document); });
    Show(target, run);
    if (IsInterrupted()) {
        throw ToolFailure(kExitFailed, "stopped before all checks were made");
    }
    if (run.Count(kCheckFail) != 0) {
        throw ToolFailure(kExitFailed, std::to_string(run.Count(kCheckFail)) + " of " +
                                           std::to_string(run.GetRows().size()) + " checks failed");
    }
}

constexpr char kFooter[] =
    R"(Whatever is changed is put back at the end, also after Ctrl-C. The highest memory channel is written twice: its
settings are put back as far as `zevrin config save` knows them. Pins are written as they are. What a camera does not
have is "absent" and no failure, and frames that lose packets on the way are passed over, but not ten in a row. The
exit code is 1 when a check failed.

Examples:
  zevrin check 1001
  zevrin --json check --only trigger,memory 1001
)";

}  // namespace

void AddCheckVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb =
        AddVerb(app, "check", "Checks that a camera does what it says it can do", kFooter);
    auto pRequest = std::make_shared<Request>();
    AddText(
        *pVerb, "--only", "<groups>",
        [pRequest](const std::string& argument, const std::string& text) {
            pRequest->groups = 0;
            std::istringstream parts(text + ",");
            for (std::string part; std::getline(parts, part, ',');) {
                pRequest->groups |= 1U << ParseChoice(argument, part, kGroupNames);
            }
        },
        "Groups of checks, separated by commas: " + ListWords(kGroupNames) + " (default: all)");
    AddNumber(*pVerb, "--timeout", "<ms>", &pRequest->timeoutMs, {1, 600000, 1},
              "Time-out for one frame in milliseconds, 1 to 600000 (default: 2000)");
    WorkOnCamera(*pVerb, tool, [pRequest](const Target& target) { RunChecks(target, *pRequest); });
}

}  // namespace ZevrinTool
