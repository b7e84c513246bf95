#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kSource = SOURCE_FOLDER;

struct Include {
    fs::path file;
    std::string name;
    bool isQuoted;
};

std::vector<Include> IncludesOf(const fs::path& folder) {
    static const std::regex kInclude(R"(\s*#\s*include\s*([<"])([^>"]+)[>"].*)");
    std::vector<Include> includes;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp") {
            continue;
        }
        std::ifstream stream(entry.path());
        std::smatch match;
        for (std::string line; std::getline(stream, line);) {
            if (std::regex_match(line, match, kInclude)) {
                includes.push_back({entry.path(), match[2], match[1] == "\""});
            }
        }
    }
    return includes;
}

std::string Describe(const Include& include) {
    return fs::relative(include.file, kSource).string() + " includes " + include.name;
}

/// Which folders a room of the library includes from, beside those that the compiler brings.
const struct {
    const char* room;
    std::vector<const char*> sees;
} kRooms[] = {
    {"include/zevrin", {"include"}},
    {"src/components", {"include", "src/components"}},
    {"src/camera", {"include", "src/components", "src/camera", "src/camera/iidc"}},
    {"src/imaging", {"include", "src/components", "src/imaging"}},
    {"src/sync", {"include", "src/components", "src/sync"}},
    {"src/transports/simulated", {"include", "src/components", "src/transports/simulated"}},
    {"src/transports/genicam", {"include", "src/components", "src/transports/genicam"}},
};

TEST(IncludeRules, RoomsOfTheLibraryIncludeDownwardsOnly) {
    for (const auto& room : kRooms) {
        const std::vector<Include> includes = IncludesOf(kSource / room.room);
        EXPECT_FALSE(includes.empty()) << room.room << ": nothing was looked at";
        for (const Include& include : includes) {
            bool isSeen = false;
            for (const char* folder : room.sees) {
                isSeen = isSeen || fs::exists(kSource / folder / include.name);
            }
            EXPECT_EQ(include.isQuoted, isSeen) << Describe(include);
            EXPECT_EQ(std::string::npos, include.name.find("..")) << Describe(include);
        }
    }
}

TEST(IncludeRules, ToolsSeeInstalledHeadersOnly) {
    std::set<std::string> installed;
    for (const auto& entry : fs::directory_iterator(fs::path(BUILD_FOLDER) / "include/zevrin")) {
        installed.insert("zevrin/" + entry.path().filename().string());
    }
    EXPECT_EQ(1U, installed.count("zevrin/CameraSystem.h"));
    for (const Include& include : IncludesOf(kSource / "tools")) {
        if (include.isQuoted) {
            EXPECT_EQ(std::string::npos, include.name.find('/')) << Describe(include);
            EXPECT_TRUE(fs::exists(include.file.parent_path() / include.name)) << Describe(include);
        } else if (include.name.find("zevrin") == 0) {
            EXPECT_EQ(1U, installed.count(include.name)) << Describe(include) << ", which is not installed";
        }
    }
}

}  // namespace
