// Runs what the help texts say that one can run.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/Spawn.h"
#include "support/TemporaryFolder.h"

namespace {

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
        EXPECT_EQ(help.output, Zevrin::SpawnShell("zevrin help" + verb, options).output);
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

}  // namespace
