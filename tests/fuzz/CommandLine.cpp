#include "CommandLine.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "Fuzz.h"
#include "Tool.h"

namespace {

using namespace Zevrin;

/// One argument on each line. Nothing is run.
void Run(const std::uint8_t* bytes, std::size_t size) {
    std::istringstream stream(std::string(reinterpret_cast<const char*>(bytes), size));
    std::vector<std::string> arguments;
    for (std::string line; std::getline(stream, line);) {
        arguments.push_back(line);
    }
    std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
    ZevrinTool::Tool tool;
    CLI::App app;
    ZevrinTool::SetUpCommandLine(app, tool);
    try {
        app.parse(arguments);
        Require(static_cast<bool>(tool.run), "a command line that is understood is to be run");
    } catch (const CLI::ParseError& problem) {
        std::ostringstream output;
        std::ostringstream messages;
        const int exitCode = app.exit(problem, output, messages);
        Require(!(exitCode == 0 ? output : messages).str().empty(), "help or a message is shown");
    } catch (const ZevrinTool::ToolFailure& failure) {
        Require(*failure.what() != '\0', "a failure has a message");
    }
}

const FuzzHarness kHarness("CommandLine", Run);

}  // namespace
