#include "ToolFolder.h"

namespace Zevrin {
namespace {

namespace fs = std::filesystem;

/// `./run` in a tree of its own, on a machine whose package manager, CMake and the like only write down how
/// they are called. Of the real programs those that are linked here can be found, sudo least of all.
constexpr char kMachine[] = R"sh(mkdir bin packaging
cp "$SOURCE/run" "$SOURCE/CMakePresets.json" .
for name in awk bash cat cksum comm dirname env grep mkdir readlink sed sort paste touch; do
    ln -s "$(PATH=/usr/bin:/bin type -P $name)" bin/$name
done
make() { printf '#!/bin/bash\n%s\n' "$2" >bin/$1; chmod +x bin/$1; }
make nproc 'echo 7'
make id 'echo "$USER_ID"'
make dpkg-query 'for name in "$@"; do grep -qsx -- "$name" missing || echo "$name installed"; done'
make apt-get '[ "$3" != update ] || touch updated
[ "$3" != install ] || [ ! -e needs-update ] || [ -e updated ] || exit 100
[ "$3" != install ] || { echo "${AS_ROOT}apt-get $*" >>log; : >missing; }'
make cmake 'echo "cmake $*" >>log
case "$*" in --build*) ;; *) mkdir -p build/release && touch build/release/build.ninja ;; esac'
make ctest 'echo "ctest $*" >>log; exit 8'
make future-sudo 'AS_ROOT="sudo " exec "$@"'
printf '# a comment\ncmake\n\nlibpng-dev  # another\ng++\n' >packaging/packages.txt)sh";

const std::string kInstall = "apt-get -o DPkg::Lock::Timeout=120 install -y --no-install-recommends ";
const std::string kBuild = "cmake --build --preset release --parallel 7";

using RunScript = ToolFolder;

TEST_F(RunScript, DoesWhatIsLeftToDo) {
    m_options.environment = {{"SOURCE", kSource}};
    ASSERT_EQ("", SpawnShell(kMachine, m_options).messages);
    const struct {
        std::string before;
        Parts command;
        int exitCode;
        Parts log;
        const char* userId = "0";
        Parts messages = {};
    } steps[] = {
        {"printf 'libpng-dev\ng++\n' >missing",
         {"build"},
         0,
         {kInstall + "g++ libpng-dev", "cmake --fresh --preset release", kBuild}},
        {"echo libnew-dev >>packaging/packages.txt", {"build"}, 0, {"cmake --preset release", kBuild}},
        {"", {"build"}, 0, {kBuild}, "1000"},
        {"echo g++ >missing", {"build"}, 1, {}, "1000", {"    apt-get install --no-install-recommends g++"}},
        {"mv bin/future-sudo bin/sudo", {"packages"}, 0, {"sudo " + kInstall + "g++"}, "1000"},
        {"echo g++ >missing; touch needs-update; rm -f updated", {"packages"}, 0, {kInstall + "g++"}},
        {"",
         {"test", "-R", "Some Name"},
         8,
         {"cmake --preset release -DZEVRIN_WERROR=ON", kBuild,
          "ctest --preset release --parallel 7 --no-tests=error -R Some Name"}},
        {"", {"build"}, 0, {kBuild}},  // which does not undo what the tests configured
        {"", {"check", "nix"}, 1, {}, "0", {"asan dev release tsan"}},
        {"", {"nix"}, 2, {}, "0", {"\"nix\""}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.before + "; ./run " + step.command[0]);
        m_options.environment = {{"PATH", std::getenv("PATH")}};
        ASSERT_EQ(0, SpawnShell("rm -f log; " + step.before, m_options).exitCode);
        m_options.environment = {
            {"PATH", m_folder.Path("bin")}, {"USER_ID", step.userId}, {"CI", ""}, {"JOBS", ""}};
        Parts command = {"./run"};
        command.insert(command.end(), step.command.begin(), step.command.end());
        const SpawnResult result = Spawn(command, m_options);
        EXPECT_EQ(step.exitCode, result.exitCode) << result.messages;
        ExpectParts(result.messages, step.messages);
        std::string log;
        for (const std::string& line : step.log) {
            log += line + "\n";
        }
        EXPECT_EQ(log, ReadFile(m_folder.Path("log")));
    }
}

}  // namespace
}  // namespace Zevrin
