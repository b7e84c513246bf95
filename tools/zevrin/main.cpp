#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "Tool.h"

namespace {

using namespace ZevrinTool;

/// `CLI::App::exit` shows help, version or message; only its numbers are its own.
int EndParsing(const CLI::App& app, const CLI::ParseError& problem) {
    return app.exit(problem) == 0 ? kExitGood : kExitUsage;
}

int Run(int argc, char** argv) {
    Tool tool;
    CLI::App app;
    SetUpCommandLine(app, tool);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& problem) {
        return EndParsing(app, problem);
    }
    tool.run();
    return kExitGood;
}

/// What could not be written is no success.
int FinishOutput(int exitCode) {
    std::cout.flush();
    if (!std::cout && exitCode == kExitGood) {
        Complain("standard output cannot be written");
        return kExitFailed;
    }
    return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
    int exitCode = kExitFailed;
    try {
        exitCode = Run(argc, argv);
    } catch (const ToolFailure& failure) {
        Complain(failure.what());
        exitCode = failure.exitCode;
    } catch (const std::exception& problem) {
        Complain(problem.what());
    }
    return FinishOutput(exitCode);
}
