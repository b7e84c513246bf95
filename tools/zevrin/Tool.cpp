#include "Tool.h"

#include <unistd.h>

#include <exception>
#include <iostream>

namespace ZevrinTool {

namespace {

struct ExitCodeRow {
    Zevrin::ErrorType type;
    ExitCode code;
};

/// The failures that are not simply an operation that failed. What is out of range here came from the
/// command line.
constexpr ExitCodeRow kExitCodes[] = {
    {Zevrin::ERR_OK, kExitGood},
    {Zevrin::ERR_INVALID_PARAMETER, kExitUsage},
    {Zevrin::ERR_VALUE_OUT_OF_RANGE, kExitUsage},
    {Zevrin::ERR_INVALID_ADDRESS, kExitUsage},
    {Zevrin::ERR_CAMERA_NOT_FOUND, kExitNoCamera},
    {Zevrin::ERR_TIMEOUT, kExitTimeout},
};

}  // namespace

ExitCode ExitCodeOf(const Zevrin::Error& error) {
    for (const ExitCodeRow& row : kExitCodes) {
        if (error == row.type) {
            return row.code;
        }
    }
    return kExitFailed;
}

bool IsAboutAbsence(const Zevrin::Error& error) {
    return error != Zevrin::ERR_OK &&
           (error == Zevrin::ERR_FEATURE_ABSENT || IsAboutAbsence(error.GetCause()));
}

void Check(const Zevrin::Error& error, const std::string& what) {
    if (error != Zevrin::ERR_OK) {
        const std::string description = error.GetDescription();
        throw ToolFailure(ExitCodeOf(error), what.empty() ? description : what + ": " + description);
    }
}

WorkEnd RunToItsEnd(const std::function<void()>& work) {
    try {
        work();
    } catch (const ToolFailure& failure) {
        return {failure.exitCode, failure.what()};
    } catch (const std::exception& problem) {
        return {kExitFailed, problem.what()};
    }
    return WorkEnd();
}

std::string NameOf(unsigned int serialNumber) {
    return "camera " + std::to_string(serialNumber);
}

void Complain(const std::string& message) {
    // In one piece, since several threads complain, and in place of a progress line.
    const std::string begin = isatty(STDERR_FILENO) == 1 ? "\r\x1b[K" : "";
    std::cerr << begin + "zevrin: " + message + "\n" << std::flush;
}

}  // namespace ZevrinTool
