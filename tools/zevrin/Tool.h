#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include <zevrin/Error.h>

namespace CLI {
class App;
}

namespace ZevrinTool {

/// What the program answers to its caller.
enum ExitCode : int {
    kExitGood = 0,
    kExitFailed = 1,    ///< the operation failed
    kExitUsage = 2,     ///< the command line asks for something that cannot be
    kExitNoCamera = 3,  ///< the camera is not there
    kExitTimeout = 4    ///< nothing came in time
};

/// Ends a verb, with a message for standard error.
struct ToolFailure : std::runtime_error {
    ToolFailure(ExitCode code, const std::string& message) : std::runtime_error(message), exitCode(code) {}
    ExitCode exitCode;
};

ExitCode ExitCodeOf(const Zevrin::Error& error);

/// Whether the reason, behind whatever stands before it, is that the camera lacks what was asked of it.
bool IsAboutAbsence(const Zevrin::Error& error);

/// Throws `ToolFailure` when `error` is one; `what` is put before its description.
void Check(const Zevrin::Error& error, const std::string& what = std::string());

/// How a piece of work ended.
struct WorkEnd {
    ExitCode exitCode = kExitGood;
    std::string failure;  ///< why it ended early; empty when it did not
};

/// Runs the work of a thread, which nothing may be thrown out of.
WorkEnd RunToItsEnd(const std::function<void()>& work);

/// "camera 1001".
std::string NameOf(unsigned int serialNumber);

/// A line on standard error.
void Complain(const std::string& message);

/// The global options, and the verb that the command line names.
struct Tool {
    std::string simulate;  ///< a count or a file; empty: nothing beside what is there
    bool json = false;
    std::function<void()> run;  ///< throws `ToolFailure`
};

/// Gives the program its options and verbs; nothing is done until `run` is called.
void SetUpCommandLine(CLI::App& app, Tool& tool);

// Each verb adds itself to the command line.
void AddListVerb(CLI::App& app, Tool& tool);
void AddInfoVerb(CLI::App& app, Tool& tool);
void AddRegVerb(CLI::App& app, Tool& tool);
void AddGrabVerb(CLI::App& app, Tool& tool);
void AddCaptureVerb(CLI::App& app, Tool& tool);
void AddPropertyVerb(CLI::App& app, Tool& tool);
void AddTriggerVerb(CLI::App& app, Tool& tool);
void AddStrobeVerb(CLI::App& app, Tool& tool);
void AddLutVerb(CLI::App& app, Tool& tool);
void AddMemoryVerb(CLI::App& app, Tool& tool);
void AddGpioVerb(CLI::App& app, Tool& tool);
void AddEmbeddedVerb(CLI::App& app, Tool& tool);
void AddStatsVerb(CLI::App& app, Tool& tool);
void AddSyncVerb(CLI::App& app, Tool& tool);
void AddTimeVerb(CLI::App& app, Tool& tool);
void AddEventsVerb(CLI::App& app, Tool& tool);
void AddFormatVerb(CLI::App& app, Tool& tool);
void AddPlanVerb(CLI::App& app, Tool& tool);
void AddConfigVerb(CLI::App& app, Tool& tool);
void AddCheckVerb(CLI::App& app, Tool& tool);
void AddHelpVerb(CLI::App& app, Tool& tool);

}  // namespace ZevrinTool
