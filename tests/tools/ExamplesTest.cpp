// Runs what the help texts say that one can run.

#include <regex>
#include <sstream>

#include "ToolFolder.h"

namespace Zevrin {
namespace {

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

using HelpTexts = ToolFolder;

TEST_F(HelpTexts, EndWithExamplesThatWork) {
    m_options.environment["PATH"] = std::string(PROGRAM_FOLDER) + ":" + std::getenv("PATH");
    m_options.environment["ZEVRIN_SIMULATE"] = "2";
    std::vector<std::string> verbs = {""};
    for (std::size_t index = 0; index < verbs.size(); ++index) {
        const std::string verb = verbs[index];
        SCOPED_TRACE("zevrin" + verb);
        const SpawnResult help = SpawnShell("zevrin" + verb + " --help", m_options);
        ASSERT_EQ(0, help.exitCode);
        for (const std::string& name : VerbsIn(help.output)) {
            verbs.push_back(verb + " " + name);
        }
        EXPECT_EQ(help.output, SpawnShell("zevrin help" + verb, m_options).output);
        const std::vector<std::string> examples = ExamplesIn(help.output);
        EXPECT_LE(2U, examples.size()) << "hardly any examples:\n" << help.output;
        for (const std::string& example : examples) {
            const SpawnResult result = SpawnShell(example, m_options);
            EXPECT_EQ(0, result.exitCode) << example << ":\n" << result.messages;
        }
    }
    EXPECT_LE(30U, verbs.size());
}

}  // namespace
}  // namespace Zevrin
