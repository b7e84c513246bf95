// Runs and compares what the documents say: every command, every excerpt, every link.

#include <zevrin/Simulation.h>

#include <regex>
#include <sstream>

#include "ToolFolder.h"

namespace Zevrin {
namespace {

namespace fs = std::filesystem;

const std::string kPath = std::string(PROGRAM_FOLDER) + ":" + std::getenv("PATH");

Parts FindAll(const std::string& text, const char* expression) {
    const std::regex pattern(expression);
    Parts found;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
        found.push_back((*match)[1]);
    }
    return found;
}

Parts Documents() {
    Parts documents = {"README.md", "CONTRIBUTING.md"};
    for (const auto& entry : fs::directory_iterator(fs::path(SOURCE_FOLDER) / "docs")) {
        if (entry.path().extension() == ".md") {
            documents.push_back("docs/" + entry.path().filename().string());
        }
    }
    return documents;
}

/// "```language note", lines, "```".
struct FencedBlock {
    std::string language;
    std::string note;  ///< what follows the language; often nothing
    std::string text;
};

std::vector<FencedBlock> ReadFencedBlocks(const std::string& path) {
    const std::string text = ReadFile(path);
    std::vector<FencedBlock> blocks;
    std::size_t end = 0;
    for (std::size_t begin = 0; (begin = text.find("\n```", end)) != std::string::npos; ++end) {
        const std::size_t line = text.find('\n', begin + 1);
        end = std::min(text.find("\n```", line), text.size());
        std::istringstream head(text.substr(begin + 4, line - begin - 4));
        FencedBlock block;
        std::getline(head, block.language, ' ');
        std::getline(head, block.note);
        block.text = text.substr(line + 1, end - line);
        blocks.push_back(block);
    }
    return blocks;
}

/// One document, followed from top to bottom in a folder that looks like the project's.
class Document : public ToolFolder, public testing::WithParamInterface<std::string> {
  protected:
    void SetUp() override {
        for (const auto& entry : fs::directory_iterator(kSource)) {
            const std::string name = entry.path().filename();
            if (name != "build" && name != ".git") {
                fs::create_symlink(entry.path(), m_folder.Path(name));
            }
        }
        fs::create_directories(m_folder.Path("build"));
        fs::create_directory_symlink(BUILD_FOLDER, m_folder.Path("build/release"));
        m_options.limit = std::chrono::seconds(400);
        m_options.environment = {{"PATH", kPath}, {"CMAKE_GENERATOR", "Ninja"}, {"CXX", CXX_PROGRAM}};
        if (!std::string(SANITIZE).empty()) {
            m_options.environment["CXXFLAGS"] = "-fsanitize=" SANITIZE;
        }
    }

    /// Commands that build the whole project are not run: that their preset or verb exists is looked at.
    static bool IsBuild(const std::string& line) {
        static const std::regex kBuild(
            R"((\./run (?:build|check)|\./run|cmake (?:--build )?--preset) (\w+)( .*)?)");
        static const std::string kKnown =
            Spawn({kSource + "/run", "help"}).output + ReadFile(kSource + "/CMakePresets.json");
        std::smatch match;
        if (!std::regex_match(line, match, kBuild)) {
            return false;
        }
        const std::string word = match[2];
        EXPECT_TRUE(std::regex_search(kKnown, std::regex("\n  " + word + " |\"" + word + "\""))) << line;
        return true;
    }

    void RunCommands(const std::string& text) {
        static const std::regex kPeer(R"((build/release/bin/)?fake-gige-camera\n)");
        if (std::regex_match(text, kPeer)) {
            m_pPeer = std::make_unique<Process>(Parts{"fake-gige-camera"}, m_options);
            ASSERT_TRUE(m_pPeer->WaitForOutput("ready")) << m_pPeer->Finish().messages;
            return;
        }
        std::istringstream lines(text);
        std::string script;
        for (std::string line; std::getline(lines, line);) {
            script += IsBuild(line) ? "" : line + "\n";
        }
        const SpawnResult result = SpawnShell("set -ex\n" + script, m_options);
        EXPECT_EQ(0, result.exitCode) << result.output << result.messages;
    }

    static void CheckJson(const FencedBlock& block) {
        if (block.note == "description") {
            boost::shared_ptr<Simulation> pSimulation;
            EXPECT_TRUE(IsOk(Simulation::FromJson(block.text, &pSimulation)));
            return;
        }
        std::istringstream lines(block.text);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_TRUE(Json::accept(line)) << line;
        }
    }

    std::unique_ptr<Process> m_pPeer;
};

TEST_P(Document, IsTrue) {
    const fs::path document = fs::path(kSource) / GetParam();
    for (const std::string& link : FindAll(ReadFile(document), R"(\]\(([^)#:]+)[^):]*\))")) {
        EXPECT_TRUE(fs::exists(document.parent_path() / link)) << link;
    }
    if (!fs::exists(PROGRAM_FOLDER "/fake-gige-camera")) {
        GTEST_SKIP() << "The documents are about a build with GigE Vision.";
    }
    for (const FencedBlock& block : ReadFencedBlocks(document)) {
        SCOPED_TRACE("```" + block.language + " " + block.note + "\n" + block.text);
        if (block.language == "sh" && block.note.empty()) {
            ASSERT_NO_FATAL_FAILURE(RunCommands(block.text));
        } else if (block.language == "sh") {
            EXPECT_TRUE(std::regex_match(block.note, std::regex("no-run: .{10,}"))) << "gives no reason";
        } else if (block.language == "json") {
            CheckJson(block);
        } else if (block.language == "cpp" || block.language == "cmake") {
            EXPECT_NE(std::string::npos, ReadFile(kSource + "/" + block.note).find(block.text))
                << "is not in the file that it names";
        } else {
            EXPECT_EQ("text", block.language) << "nothing looks at a block of this language";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, Document, testing::ValuesIn(Documents()), [](const auto& document) {
    return std::regex_replace(fs::path(document.param).stem().string(), std::regex("\\W"), "_");
});

TEST(Documents, KnowEveryFolderAndEveryError) {
    const std::string readme = ReadFile(kSource + "/README.md");
    const Parts folders = FindAll(readme, R"(\n\| `([a-z/]+)/` \|)");
    EXPECT_LE(8U, folders.size());
    for (const std::string& folder : folders) {
        EXPECT_TRUE(fs::is_directory(kSource + "/" + folder)) << folder;
    }

    const std::string errors = ReadFile(kSource + "/docs/errors.md");
    const Parts types = FindAll(ReadFile(kSource + "/include/zevrin/ErrorType.h"), R"((ERR_\w+) = \d+)");
    EXPECT_LE(40U, types.size());
    for (const std::string& type : types) {
        EXPECT_NE(std::string::npos, errors.find("\n| `" + type + "` | ")) << type;
    }
}

using HelpTexts = ToolFolder;

TEST_F(HelpTexts, EndWithExamplesThatWork) {
    m_options.environment["PATH"] = kPath;
    m_options.environment["ZEVRIN_SIMULATE"] = "2";
    const std::string readme = ReadFile(kSource + "/README.md");
    Parts verbs = {""};
    for (std::size_t index = 0; index < verbs.size(); ++index) {
        const std::string verb = verbs[index];
        SCOPED_TRACE("zevrin" + verb);
        const std::string help = SpawnShell("zevrin help" + verb, m_options).output;
        EXPECT_EQ(help, SpawnShell("zevrin" + verb + " --help", m_options).output);
        EXPECT_EQ(Parts(), FindAll(help, "\n(.{121,})"));
        const std::size_t examples = help.find("Examples:\n");
        ASSERT_NE(std::string::npos, examples);
        const std::size_t list = help.find("\nVerbs:");
        if (list != std::string::npos) {
            for (const std::string& name :
                 FindAll(help.substr(list, examples - list), "\n  ([a-z]+)  +\\S")) {
                verbs.push_back(verb + " " + name);
                EXPECT_TRUE(!verb.empty() || readme.find("`" + name) != std::string::npos) << name;
            }
        }
        const Parts commands = FindAll(help.substr(examples), "\n  (.+)");
        EXPECT_LE(2U, commands.size()) << help;
        for (const std::string& command : commands) {
            const SpawnResult result = SpawnShell(command, m_options);
            EXPECT_EQ(0, result.exitCode) << command << ":\n" << result.messages;
        }
    }
    EXPECT_LE(30U, verbs.size());
}

using Reference = ToolFolder;

TEST_F(Reference, HasEveryPublicDeclaration) {
    for (const char* name : {"include", "src", "docs"}) {
        fs::create_directory_symlink(kSource + "/" + name, m_folder.Path(name));
    }
    fs::create_directories(m_folder.Path("build/docs"));
    const SpawnResult result = Spawn({"doxygen", "docs/Doxyfile"}, m_options);
    EXPECT_EQ(0, result.exitCode) << result.messages;
    EXPECT_TRUE(fs::exists(m_folder.Path("build/docs/html/classZevrin_1_1CameraInternal.html")));
}

}  // namespace
}  // namespace Zevrin
