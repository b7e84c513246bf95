#include <unistd.h>
#include <zevrin/CameraSystem.h>
#include <zevrin/Simulation.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "CameraConfig.h"
#include "CommandLine.h"
#include "Fuzz.h"
#include "JsonFile.h"
#include "SyncIndex.h"
#include "SyncVerify.h"
#include "Tool.h"

namespace {

using namespace Zevrin;
using namespace ZevrinTool;

/// Gives what is parsed from a file only to `parse`, as the path of one; a refusal says something.
template <typename Parse>
void ParseFile(const std::string& text, const Parse& parse) {
    static const struct File {
        ~File() {
            close(handle);
            unlink(path);
        }
        char path[32] = "/tmp/zevrin-input-XXXXXX";
        int handle = mkstemp(path);
    } file;
    const auto hold = [](const std::string& content) {
        Require(ftruncate(file.handle, 0) == 0 && pwrite(file.handle, content.data(), content.size(), 0) ==
                                                      static_cast<ssize_t>(content.size()),
                "the file can be written");
        return file.path;
    };
    try {
        hold(text);
        parse(file.path, hold);
    } catch (const ToolFailure& failure) {
        RequirePrintable(failure.what());
    }
}

/// One argument on each line. Nothing is run.
const FuzzHarness kCommandLine("CommandLine", [](const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> arguments;
    for (std::string line; std::getline(stream, line);) {
        arguments.push_back(line);
    }
    std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
    Tool tool;
    CLI::App app;
    SetUpCommandLine(app, tool);
    try {
        app.parse(arguments);
        Require(static_cast<bool>(tool.run), "a command line that is understood is to be run");
    } catch (const CLI::ParseError& problem) {
        std::ostringstream output;
        std::ostringstream messages;
        const int exitCode = app.exit(problem, output, messages);
        Require(!(exitCode == 0 ? output : messages).str().empty(), "help or a message is shown");
    } catch (const ToolFailure& failure) {
        Require(*failure.what() != '\0', "a failure has a message");
    }
});

/// What is accepted of a configuration is made so; the camera then still has settings that it would accept
/// itself.
const FuzzHarness kConfigJson("ConfigJson", [](const std::string& text) {
    static boost::shared_ptr<Simulation> pSimulation;
    static CameraSystem system;
    static boost::shared_ptr<IidcCamera> pCamera;
    static const bool isReady =
        Simulation::FromJson(R"({"clock": "manual", "cameras": [{"serial": 1, "width": 64, "height": 48}]})",
                             &pSimulation) == ERR_OK &&
        system.Connect(1, &pCamera) == ERR_OK;
    Require(isReady, "there is a camera");
    ParseFile(text, [](const char* path, const auto&) {
        const Json document = ReadJsonFile(path);
        CheckConfigHead(document);
        const ConfigPlan plan = PlanConfig(document, *pCamera);
        for (const Finding& finding : ApplyConfig(plan)) {
            RequirePrintable(finding.reason);
        }
        const CameraConfig now = ReadConfig(*pCamera);
        Require(now.unread.empty(), "the camera's settings can be read");
        for (const Finding& finding : PlanConfig(now.document, *pCamera).refused) {
            Require(false, "a camera accepts its own " + finding.path + ": " + finding.reason);
        }
    });
});

const FuzzHarness kSyncIndexFile("SyncIndexFile", [](const std::string& text) {
    ParseFile(text, [](const char* path, const auto& hold) {
        const SyncIndexReading reading = ReadSyncIndex(path);
        for (const std::string& problem : reading.problems.GetLines()) {
            RequirePrintable(problem);
        }
        const SyncIndexReading again = ReadSyncIndex(hold(FormatSyncIndex(reading.index)));
        Require(again.problems.Count() == 0 && again.index.entries.size() == reading.index.entries.size(),
                "what was read can be written and read again");
        const SyncReport report = Analyze(reading.index);
    });
});

}  // namespace
