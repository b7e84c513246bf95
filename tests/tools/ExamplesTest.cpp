// Runs what the documents and the help texts say that one can run.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/Markdown.h"
#include "support/Png.h"
#include "support/Spawn.h"
#include "support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using Zevrin::SpawnOptions;
using Zevrin::SpawnResult;
using Zevrin::TemporaryFolder;

const std::string kSource = SOURCE_FOLDER;

std::vector<std::string> LinesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::string ReadFile(const std::string& path) {
    std::ifstream stream(path);
    return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

/// The lines below "Examples:" of a help text.
std::vector<std::string> ExamplesIn(const std::string& help) {
    const std::size_t begin = help.find("Examples:\n");
    return begin == std::string::npos ? std::vector<std::string>()
                                      : LinesOf(help.substr(begin + sizeof "Examples:"));
}

/// The first words of the lines below "Verbs:".
std::vector<std::string> VerbsIn(const std::string& help) {
    static const std::regex kVerb("\n  (\\w+)  +\\S");
    const std::size_t begin = help.find("\nVerbs:");
    const std::string list =
        begin == std::string::npos ? "" : help.substr(begin, help.find("\n\n", begin) - begin);
    std::vector<std::string> verbs;
    for (std::sregex_iterator found(list.begin(), list.end(), kVerb), end; found != end; ++found) {
        verbs.push_back((*found)[1]);
    }
    return verbs;
}

TEST(HelpTexts, EndWithExamplesThatWork) {
    const TemporaryFolder folder;
    SpawnOptions options;
    options.folder = folder.Path();
    options.environment = {{"PATH", std::string(PROGRAM_FOLDER) + ":" + std::getenv("PATH")},
                           {"ZEVRIN_TRANSPORTS", "simulated"},
                           {"ZEVRIN_SIMULATE", "2"}};
    std::vector<std::string> verbs = {""};
    for (std::size_t index = 0; index < verbs.size(); ++index) {
        const std::string verb = verbs[index];
        SCOPED_TRACE("zevrin" + verb);
        const SpawnResult help = Zevrin::SpawnShell("zevrin" + verb + " --help", options);
        ASSERT_EQ(0, help.exitCode);
        for (const std::string& name : VerbsIn(help.output)) {
            verbs.push_back(verb + " " + name);
        }
        const std::vector<std::string> examples = ExamplesIn(help.output);
        EXPECT_LE(2U, examples.size()) << "hardly any examples:\n" << help.output;
        for (const std::string& example : examples) {
            const SpawnResult result = Zevrin::SpawnShell(example, options);
            EXPECT_EQ(0, result.exitCode) << example << ":\n" << result.messages;
        }
    }
    EXPECT_LE(30U, verbs.size());
}

TEST(RunHelp, NamesVerbsAndPresetsThatAreThere) {
    const std::string help = Zevrin::Spawn({kSource + "/run", "help"}).output;
    const std::string presets = ReadFile(kSource + "/CMakePresets.json");
    for (const std::string& example : ExamplesIn(help)) {
        std::istringstream words(example);
        std::string program;
        std::string verb;
        words >> program >> verb;
        EXPECT_EQ("./run", program);
        EXPECT_NE(std::string::npos, help.find("\n  " + verb + " ")) << example;
    }
    for (const char* preset : {"release", "dev", "asan", "tsan"}) {
        EXPECT_NE(std::string::npos, presets.find("\"name\": \"" + std::string(preset) + "\"")) << preset;
    }
}

/// The README's commands, run in its order in a folder that looks like the project's.
class Readme : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directories(m_folder.Path("build"));
        fs::create_directory_symlink(BUILD_FOLDER, m_folder.Path("build/release"));
        m_options.folder = m_folder.Path();
    }

    /// Commands that build the whole project: that their verbs and presets exist is what is looked at.
    static bool IsBuild(const std::string& line) {
        static const std::regex kBuild(R"((\./run|cmake) .*)");
        return std::regex_match(line, kBuild);
    }

    static void CheckBuild(const std::string& line) {
        static const std::regex kRun(R"(\./run (\w+)( (\w+))?)");
        static const std::regex kCmake(R"(cmake (--build )?--preset (\w+)|cmake --install build/(\w+) .*)");
        std::smatch match;
        std::string preset;
        if (std::regex_match(line, match, kRun)) {
            const std::string help = Zevrin::Spawn({kSource + "/run", "help"}).output;
            EXPECT_NE(std::string::npos, help.find("\n  " + match[1].str() + " ")) << line;
            preset = match[3];
        } else if (std::regex_match(line, match, kCmake)) {
            preset = match[2].str() + match[3].str();
        } else {
            ADD_FAILURE() << line << " is not known as a command that builds";
        }
        EXPECT_TRUE(preset.empty() ||
                    ReadFile(kSource + "/CMakePresets.json").find("\"name\": \"" + preset + "\"") !=
                        std::string::npos)
            << line << ": there is no such preset";
    }

    TemporaryFolder m_folder;
    SpawnOptions m_options;
};

TEST_F(Readme, CommandsWork) {
    if (!fs::exists(PROGRAM_FOLDER "/fake-gige-camera")) {
        GTEST_SKIP() << "The README is about a build with GigE Vision.";
    }
    std::unique_ptr<Zevrin::Process> pFakeCamera;
    int count = 0;
    for (const std::string& block : Zevrin::ReadFencedBlocks(kSource + "/README.md", "sh")) {
        for (const std::string& line : LinesOf(block)) {
            ++count;
            if (IsBuild(line)) {
                CheckBuild(line);
            } else if (line == "build/release/bin/fake-gige-camera") {
                pFakeCamera = std::make_unique<Zevrin::Process>(std::vector<std::string>{line}, m_options);
                ASSERT_TRUE(pFakeCamera->WaitForOutput("ready")) << pFakeCamera->Finish().messages;
            } else {
                const SpawnResult result = Zevrin::SpawnShell(line, m_options);
                EXPECT_EQ(0, result.exitCode) << line << ":\n" << result.messages;
            }
        }
    }
    EXPECT_LE(10, count) << "the README has hardly any commands";
}

TEST_F(Readme, FoldersOfTheMapExist) {
    static const std::regex kRow(R"(\| `([a-z/]+)/` \|.*)");
    std::smatch match;
    int count = 0;
    for (const std::string& line : LinesOf(ReadFile(kSource + "/README.md"))) {
        if (std::regex_match(line, match, kRow)) {
            EXPECT_TRUE(fs::is_directory(kSource + "/" + match[1].str())) << line;
            ++count;
        }
    }
    EXPECT_LE(5, count);
}

/// The library as it is installed, and the README's program built against it.
class Installation : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        s_pFolder = std::make_unique<TemporaryFolder>();
        const SpawnResult result =
            Zevrin::Spawn({CMAKE_PROGRAM, "--install", BUILD_FOLDER, "--prefix", Prefix()});
        ASSERT_EQ(0, result.exitCode) << result.messages;
        const std::vector<std::string> programs = Zevrin::ReadFencedBlocks(kSource + "/README.md", "cpp");
        ASSERT_EQ(1U, programs.size());
        std::ofstream(s_pFolder->Path("main.cpp")) << programs.front();
    }
    static void TearDownTestSuite() { s_pFolder.reset(); }

    static std::string Prefix() { return s_pFolder->Path("installed"); }

    static std::string SanitizerFlag() { return std::string(SANITIZE).empty() ? "" : "-fsanitize=" SANITIZE; }

    /// The folder that has `name` below the installed one.
    static std::string Find(const std::string& name) {
        for (const auto& entry : fs::recursive_directory_iterator(Prefix())) {
            if (entry.path().filename() == name) {
                return entry.path().parent_path();
            }
        }
        ADD_FAILURE() << name << " was not installed";
        return "";
    }

    static void ExpectToWork(const std::string& command) {
        SpawnOptions options;
        options.folder = s_pFolder->Path();
        options.limit = std::chrono::seconds(200);
        options.environment["LD_LIBRARY_PATH"] = Find("libzevrin.so");
        options.environment["ZEVRIN_TRANSPORTS"] = "simulated";
        const SpawnResult result = Zevrin::SpawnShell(command, options);
        EXPECT_EQ(0, result.exitCode) << command << ":\n" << result.output << result.messages;
    }

    static std::unique_ptr<TemporaryFolder> s_pFolder;
};

std::unique_ptr<TemporaryFolder> Installation::s_pFolder;

TEST_F(Installation, ProgramBuildsWithTheCMakePackageAndRuns) {
    std::ofstream(s_pFolder->Path("CMakeLists.txt")) << R"(cmake_minimum_required(VERSION 3.25)
project(sample LANGUAGES CXX)
find_package(Zevrin 0.1 REQUIRED)
add_executable(sample main.cpp)
target_compile_features(sample PRIVATE cxx_std_17)
target_link_libraries(sample PRIVATE Zevrin::zevrin)
)";
    ExpectToWork("'" CMAKE_PROGRAM "' -G Ninja -S . -B build -DCMAKE_PREFIX_PATH='" + Prefix() +
                 "' -DCMAKE_CXX_COMPILER='" CXX_PROGRAM "' -DCMAKE_CXX_FLAGS='" + SanitizerFlag() +
                 "' && '" CMAKE_PROGRAM "' --build build && build/sample");
    EXPECT_TRUE(Zevrin::IsWholePng(s_pFolder->Path("first.png")));
}

TEST_F(Installation, ProgramBuildsWithPkgConfigAndRuns) {
    ExpectToWork("flags=$(PKG_CONFIG_PATH='" + Find("zevrin.pc") +
                 "' pkg-config --cflags --libs zevrin) && '" CXX_PROGRAM "' -std=c++17 " + SanitizerFlag() +
                 " main.cpp $flags -o sample && rm -f first.png && ./sample");
    EXPECT_TRUE(Zevrin::IsWholePng(s_pFolder->Path("first.png")));
}

TEST_F(Installation, ToolFindsTheLibraryBesideIt) {
    const SpawnResult result = Zevrin::Spawn({Prefix() + "/bin/zevrin", "--version"});
    EXPECT_EQ("zevrin " PROJECT_VERSION "\n", result.output) << result.messages;
}

}  // namespace
