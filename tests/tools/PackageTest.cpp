// What the Debian packages bring, unpacked beside the system.

#include "ToolFolder.h"

namespace Zevrin {
namespace {

namespace fs = std::filesystem;

// For each library that the loader will look for, whether its package is one that comes along.
constexpr char kNeeded[] = R"sh(depends=", $(dpkg-deb -f zevrin_*.deb Depends)"
for file in root/usr/bin/zevrin root/usr/lib/libzevrin.so.*; do objdump -p $file; done |
    awk '$1 == "NEEDED" && $2 !~ /^libzevrin/ { print $2 }' | while read library; do
        package=$(dpkg -S "*/$(c++ -print-multiarch)/$library" | cut -d : -f 1)
        case $depends in *", $package"*) echo named ;; *) echo "$library of $package" ;; esac
    done | sort -u)sh";

// Each shell answers with what it offers for the last word.
constexpr char kBash[] = R"(source root/usr/share/bash-completion/completions/zevrin
COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _zevrin; echo "${COMPREPLY[@]}")";
constexpr char kZsh[] = R"(_describe() { list=("${(@)${(@P)2}%%:*}"); print -r -- ${(M)list:#$PREFIX*} }
_files() { print -r -- $PREFIX*(N) }
words=("$@"); CURRENT=$#; PREFIX=${words[-1]}; source root/usr/share/zsh/vendor-completions/_zevrin)";

constexpr const char* kCompletions[][2] = {
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

using Package = ToolFolder;

// In one test: making the packages takes long.
TEST_F(Package, BringsTheProgramItsManualPageAndCompletion) {
    m_options.limit = std::chrono::seconds(500);
    const SpawnResult packed = SpawnShell("'" CPACK_PROGRAM "' --config '" BUILD_FOLDER
                                          "/CPackConfig.cmake' -B . &&"
                                          "for package in *.deb; do dpkg-deb -x $package root; done",
                                          m_options);
    ASSERT_EQ(0, packed.exitCode) << packed.output << packed.messages;
    m_options.environment["PATH"] = m_folder.Path("root/usr/bin") + ":" + std::getenv("PATH");
    const auto say = [this](const std::string& command) {
        const SpawnResult result = SpawnShell(command, m_options);
        EXPECT_EQ("", result.messages) << command;
        return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
    };
    EXPECT_EQ("zevrin " PROJECT_VERSION, say("zevrin --version"));
    EXPECT_EQ("3", say("zevrin --simulate 2 list | wc -l"));
    EXPECT_EQ("zevrin-dev zevrin", say("for file in *.deb; do dpkg-deb -f $file Package; done | xargs"));
    EXPECT_EQ("named", say(kNeeded)) << "a library that no package brings along";
    EXPECT_EQ("zevrin (= " PROJECT_VERSION "), libboost-thread-dev",
              say("dpkg-deb -f zevrin-dev_*.deb Depends"));
    for (const char* name : {"lib/udev/rules.d/60-zevrin.rules", "share/doc/zevrin/examples/CMakeLists.txt",
                             "share/doc/zevrin/docs/getting-started.md", "include/zevrin/IidcCamera.h"}) {
        EXPECT_TRUE(fs::exists(m_folder.Path("root/usr/") + name)) << name;
    }
    ExpectParts(say("groff -man -Tascii -P-cbou -ww root/usr/share/man/man1/zevrin.1"),
                {"\n   zevrin grab\n", "\n   zevrin sync verify\n", "--reconnect <s>",
                 "\n         zevrin --simulate 2 list\n"});
    for (const auto& [typed, offered] : kCompletions) {
        for (const auto& [shell, script] :
             {std::pair<const char*, const char*>{"bash", kBash}, {"zsh -f", kZsh}}) {
            const std::string command = std::string(shell) + " -c '" + script + "' shell zevrin " + typed;
            EXPECT_EQ(offered, say(command)) << shell << ": zevrin " << typed;
        }
    }
}

}  // namespace
}  // namespace Zevrin
