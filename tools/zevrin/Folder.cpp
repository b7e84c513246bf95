#include "Folder.h"

#include <signal.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "Output.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

[[noreturn]] void Fail(const std::string& folder, const std::string& what, const std::string& reason) {
    throw ToolFailure(kExitFailed, "the folder \"" + Printable(folder) + "\" " + what + ": " + reason);
}

}  // namespace

void PrepareFolder(const std::string& folder) {
    signal(SIGXFSZ, SIG_IGN);
    std::error_code problem;
    std::filesystem::create_directories(folder, problem);
    std::error_code unseen;  // what cannot be looked at is none
    if (!std::filesystem::is_directory(folder, unseen)) {
        Fail(folder, "cannot be made", problem ? problem.message() : "it is no folder");
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        Fail(folder, "cannot be written to", std::generic_category().message(errno));
    }
}

void RequireNoRecording(const std::string& folder) {
    namespace fs = std::filesystem;
    std::error_code unseen;
    if (fs::exists(fs::symlink_status(fs::path(folder) / kIndexName, unseen))) {
        throw ToolFailure(kExitFailed, "the folder \"" + Printable(folder) +
                                           "\" holds a recording already (index.jsonl); choose another one");
    }
}

unsigned long long GetFreeSpace(const std::string& folder) {
    struct statvfs state = {};
    if (statvfs(folder.c_str(), &state) != 0) {
        Fail(folder, "does not tell its free space", std::generic_category().message(errno));
    }
    return 1ULL * state.f_bavail * state.f_frsize;
}

}  // namespace ZevrinTool
