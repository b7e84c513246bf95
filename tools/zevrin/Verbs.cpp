#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "CommandLine.h"
#include "CommandTree.h"
#include "Numbers.h"
#include "Output.h"
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
  ZEVRIN_LOG         level of the library's log on standard error: off, error, warn, info, debug, trace (default: off)

Examples:
  zevrin list
  zevrin --simulate 2 list
  zevrin --simulate 2 grab -n 20 -o images 1001
)";

void AddGlobalOptions(CLI::App& app, Tool& tool) {
    AddText(
        app, "--simulate", "<count|file>",
        [&tool](const std::string& argument, const std::string& text) {
            const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
            std::error_code unseen;  // a file that cannot be looked at is the library's to judge
            if (!isNumber &&
                std::filesystem::status(text, unseen).type() == std::filesystem::file_type::not_found) {
                throw CLI::ValidationError(
                    argument,
                    "\"" + Printable(text) + "\" is neither a number of cameras, 1 to 64, nor a file");
            }
            tool.simulate = text;
        },
        "Adds simulated cameras: 1 to 64 with serial numbers 1001 and on, or as a JSON file describes them");
    app.add_flag("--json", tool.json, "Writes JSON to standard output, for programs");
    app.set_help_flag("-h,--help", "Shows this text");
    app.set_version_flag("--version", "zevrin " ZEVRIN_VERSION, "Shows the version");
}

/// Texts that are made of the command line itself, for a build to install. Not in the help, since nobody
/// types them. They end the parsing as `--version` does.
void AddGenerators(CLI::App& app) {
    const auto end = [](const std::string& text) { throw CLI::CallForVersion(text, 0); };
    app.add_option_function<std::string>(
           "--completion",
           [&app, end](const std::string& shell) { end(FormatCompletion(DescribeCommandLine(app), shell)); })
        ->group("");
    app.add_flag_callback("--man", [&app, end] { end(FormatManPage(DescribeCommandLine(app))); })->group("");
}

/// --json=5 would be taken.
void RefuseFlagValues(CLI::App& app) {
    for (CLI::Option* const pOption : app.get_options()) {
        if (pOption->get_items_expected_max() == 0) {
            pOption->disable_flag_override();
        }
    }
    for (CLI::App* const pVerb : app.get_subcommands([](CLI::App*) { return true; })) {
        RefuseFlagValues(*pVerb);
    }
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
    AddGenerators(app);
    for (const auto pAdd :
         {AddListVerb,    AddInfoVerb,   AddRegVerb,    AddGrabVerb,   AddCaptureVerb, AddPropertyVerb,
          AddTriggerVerb, AddStrobeVerb, AddLutVerb,    AddMemoryVerb, AddGpioVerb,    AddEmbeddedVerb,
          AddStatsVerb,   AddTimeVerb,   AddEventsVerb, AddFormatVerb, AddSyncVerb,    AddPlanVerb,
          AddConfigVerb,  AddCheckVerb,  AddHelpVerb}) {
        pAdd(app, tool);
    }
    RefuseFlagValues(app);
}

}  // namespace ZevrinTool
