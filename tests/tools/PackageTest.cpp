// What the Debian packages bring, unpacked beside the system.

#include "ToolFolder.h"

namespace Zevrin {
namespace {

namespace fs = std::filesystem;

class Package : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        s_pFolder = std::make_unique<TemporaryFolder>();
        s_options.limit = std::chrono::seconds(300);
        s_options.folder = s_pFolder->Path();
        const SpawnResult result = SpawnShell("'" CPACK_PROGRAM "' --config '" BUILD_FOLDER
                                              "/CPackConfig.cmake' -B . &&"
                                              "for package in *.deb; do dpkg-deb -x $package root; done",
                                              s_options);
        ASSERT_EQ(0, result.exitCode) << result.output << result.messages;
        s_options.environment = {{"PATH", s_pFolder->Path("root/usr/bin") + ":" + std::getenv("PATH")},
                                 {"ZEVRIN_TRANSPORTS", "simulated"}};
    }
    static void TearDownTestSuite() { s_pFolder.reset(); }

    /// What the shell says, without the last line break.
    static std::string Say(const std::string& command) {
        const SpawnResult result = SpawnShell(command, s_options);
        EXPECT_EQ("", result.messages) << command;
        return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
    }

    static std::unique_ptr<TemporaryFolder> s_pFolder;
    static SpawnOptions s_options;
};

std::unique_ptr<TemporaryFolder> Package::s_pFolder;
SpawnOptions Package::s_options;

// For each library that the loader will look for, whether its package is one that comes along.
constexpr char kNeeded[] = R"sh(depends=", $(dpkg-deb -f zevrin_*.deb Depends)"
for file in root/usr/bin/zevrin root/usr/lib/libzevrin.so.*; do objdump -p $file; done |
    awk '$1 == "NEEDED" && $2 !~ /^libzevrin/ { print $2 }' | while read library; do
        package=$(dpkg -S "*/$(c++ -print-multiarch)/$library" | cut -d : -f 1)
        case $depends in *", $package"*) echo named ;; *) echo "$library of $package" ;; esac
    done | sort -u)sh";

TEST_F(Package, BringsAProgramThatRunsAndNamesWhatItNeeds) {
    EXPECT_EQ("zevrin " PROJECT_VERSION, Say("zevrin --version"));
    EXPECT_EQ("3", Say("zevrin --simulate 2 list | wc -l"));
    EXPECT_EQ("zevrin-dev zevrin", Say("for file in *.deb; do dpkg-deb -f $file Package; done | xargs"));
    EXPECT_EQ("named", Say(kNeeded)) << "a library that no package brings along";
    EXPECT_EQ("zevrin (= " PROJECT_VERSION "), libboost-thread-dev",
              Say("dpkg-deb -f zevrin-dev_*.deb Depends"));
    for (const char* name :
         {"lib/udev/rules.d/60-zevrin.rules", "share/bash-completion/completions/zevrin",
          "share/zsh/vendor-completions/_zevrin", "share/doc/zevrin/examples/CMakeLists.txt",
          "share/doc/zevrin/docs/getting-started.md", "include/zevrin/IidcCamera.h"}) {
        EXPECT_TRUE(fs::exists(s_pFolder->Path("root/usr/") + name)) << name;
    }
}

TEST_F(Package, HasAManualPageOfEveryVerb) {
    const std::string page = Say("groff -man -Tascii -P-cbou -ww root/usr/share/man/man1/zevrin.1");
    for (const char* text : {"\n   zevrin grab\n", "\n   zevrin sync verify\n", "--reconnect <s>",
                             "\n         zevrin --simulate 2 list\n"}) {
        EXPECT_NE(std::string::npos, page.find(text)) << text << page.substr(0, 3000);
    }
}

// Each shell answers with what it offers for the last word.
constexpr char kBash[] = R"(source root/usr/share/bash-completion/completions/zevrin
COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _zevrin; echo "${COMPREPLY[@]}")";
constexpr char kZsh[] = R"(_describe() { list=("${(@)${(@P)2}%%:*}"); print -r -- ${(M)list:#$PREFIX*} }
_files() { print -r -- $PREFIX*(N) }
words=("$@"); CURRENT=$#; PREFIX=${words[-1]}; source root/usr/share/zsh/vendor-completions/_zevrin)";

TEST_F(Package, CompletesVerbsOptionsAndValuesInBothShells) {
    const struct {
        const char* typed;
        const char* offered;
    } cases[] = {
        {"'sy'", "sync"},
        {"--simulate 2 property s", "set"},
        {"property set white-b", "white-balance"},
        {"grab --reco", "--reconnect"},
        {"grab -n 5 --js", "--json"},
        {"help sync ver", "verify"},
        {"trigger set --polarity h", "high"},
        {"grab -o roo", "root"},
        {"grab -n ''", ""},
    };
    for (const auto& row : cases) {
        for (const auto& [shell, script] :
             {std::pair<const char*, const char*>{"bash", kBash}, {"zsh -f", kZsh}}) {
            std::string command = shell;
            command += " -c '" + std::string(script) + "' shell zevrin " + row.typed;
            EXPECT_EQ(row.offered, Say(command)) << shell << ": zevrin " << row.typed;
        }
    }
}

}  // namespace
}  // namespace Zevrin
