#include <CLI/CLI.hpp>
#include <memory>

#include "CommandLine.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr char kFooter[] =
    R"(Data goes to standard output, messages go to standard error. A serial number can be left out when exactly one
camera is there.

Exit codes: 0 good, 1 the operation failed, 2 usage, 3 no such camera, 4 time-out

Environment:
  ZEVRIN_SIMULATE    what --simulate says, for every program of the library
  ZEVRIN_TRANSPORTS  where to look for cameras, separated by commas: simulated, genicam (default: everywhere)
  ZEVRIN_IIDC_BLOCK  where cameras have IIDC registers of their own: SERIAL=ADDRESS, separated by commas
  ZEVRIN_LOG         level of the library's log on standard error: off, error, warn, info, debug (default: off)

Examples:
  zevrin list
  zevrin --simulate 2 list
  zevrin --simulate 2 grab -n 20 -o images 1001
)";

void AddGlobalOptions(CLI::App& app, Tool& tool) {
    app.add_option("--simulate", tool.simulate,
                   "Adds simulated cameras: 1 to 64 with serial numbers 1001 and on, or as a JSON file "
                   "describes them")
        ->type_name("<count|file>");
    app.add_flag("--json", tool.json, "Writes JSON to standard output, for programs");
    app.set_help_flag("-h,--help", "Shows this text");
    app.set_version_flag("--version", "zevrin " ZEVRIN_VERSION, "Shows the version");
}

}  // namespace

void SetUpCommandLine(CLI::App& app, Tool& tool) {
    app.description(
        "Lists register-mapped cameras, shows and changes how they are set, and grabs and records images.");
    app.name("zevrin");
    app.formatter(std::make_shared<HelpFormatter>());
    app.footer(kFooter);
    app.failure_message(DescribeProblem);
    app.require_subcommand(1);
    app.fallthrough();
    AddGlobalOptions(app, tool);
    for (const auto pAdd :
         {AddListVerb, AddInfoVerb, AddRegVerb, AddGrabVerb, AddCaptureVerb, AddPropertyVerb, AddTriggerVerb,
          AddStrobeVerb, AddLutVerb, AddMemoryVerb, AddGpioVerb, AddEmbeddedVerb, AddStatsVerb, AddTimeVerb,
          AddEventsVerb, AddFormatVerb, AddSyncVerb, AddPlanVerb}) {
        pAdd(app, tool);
    }
}

}  // namespace ZevrinTool
