#include "Folder.h"

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

}  // namespace ZevrinTool
