#include "Folder.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "Tool.h"

namespace ZevrinTool {

void PrepareFolder(const std::string& folder) {
    std::error_code problem;
    std::filesystem::create_directories(folder, problem);
    if (!std::filesystem::is_directory(folder)) {
        const std::string reason = problem ? problem.message() : "it is no folder";
        throw ToolFailure(kExitFailed, "the folder \"" + folder + "\" cannot be made: " + reason);
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        throw ToolFailure(kExitFailed, "the folder \"" + folder + "\" cannot be written to: " +
                                           std::generic_category().message(errno));
    }
}

unsigned long long GetFreeSpace(const std::string& folder) {
    struct statvfs state = {};
    if (statvfs(folder.c_str(), &state) != 0) {
        throw ToolFailure(kExitFailed, "the free space of \"" + folder +
                                           "\" cannot be told: " + std::generic_category().message(errno));
    }
    return 1ULL * state.f_bavail * state.f_frsize;
}

}  // namespace ZevrinTool
