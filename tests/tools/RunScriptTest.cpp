#include "ToolFolder.h"

namespace Zevrin {
namespace {

namespace fs = std::filesystem;

/// `./run` in a tree of its own, on a machine whose package manager, CMake and the like only write down how
/// they are called.
class RunScript : public ToolFolder {
  protected:
    RunScript() {
        fs::create_directories(m_folder.Path("packaging"));
        fs::create_directories(m_folder.Path("bin"));
        for (const char* name : {"run", "CMakePresets.json"}) {
            fs::copy_file(fs::path(SOURCE_FOLDER) / name, m_folder.Path(name));
        }
        Write("packaging/packages.txt", "# a comment\ncmake\n\nlibpng-dev  # another\ng++\n");
        // Nothing else of this machine can be found, sudo least of all.
        for (const char* name : {"awk", "bash", "cat", "cksum", "comm", "dirname", "env", "grep", "mkdir",
                                 "readlink", "sed", "sort", "paste", "touch"}) {
            for (const char* folder : {"/usr/bin/", "/bin/"}) {
                if (fs::exists(std::string(folder) + name)) {
                    fs::create_symlink(std::string(folder) + name, m_folder.Path("bin/") + name);
                    break;
                }
            }
        }
        AddProgram("nproc", "echo 7");
        AddProgram("id", "echo \"${USER_ID:-0}\"");
        AddProgram("dpkg-query",
                   "for name in \"$@\"; do grep -qsx -- \"$name\" missing || echo \"$name installed\"; done");
        AddProgram("apt-get", R"(echo "apt-get $*" >>log
[ "$3" != update ] || touch updated
[ "$3" != install ] || { [ ! -e needs-update ] || [ -e updated ]; } || exit 100
[ "$3" != install ] || : >missing)");
        AddProgram("cmake", R"(echo "cmake $*" >>log
case "$*" in --build*) ;; *) mkdir -p build/release && touch build/release/build.ninja ;; esac)");
        AddProgram("ctest", "echo \"ctest $*\" >>log; exit 8");
    }

    void AddProgram(const std::string& name, const std::string& body) {
        Write("bin/" + name, "#!/bin/bash\n" + body + "\n");
        fs::permissions(m_folder.Path("bin/" + name), fs::perms::owner_all);
    }

    SpawnResult Run(const Parts& arguments, const std::string& userId = "0") {
        m_options.environment = {
            {"PATH", m_folder.Path("bin")}, {"USER_ID", userId}, {"CI", ""}, {"JOBS", ""}};
        Parts command = {"./run"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        fs::remove(m_folder.Path("log"));
        return Spawn(command, m_options);
    }

    /// What was called, save for refreshing package lists, which depends on this machine's.
    Parts Log() {
        std::ifstream stream(m_folder.Path("log"));
        Parts lines;
        for (std::string line; std::getline(stream, line);) {
            if (line.find(" update") == std::string::npos) {
                lines.push_back(line);
            }
        }
        return lines;
    }
};

const std::string kInstall = "apt-get -o DPkg::Lock::Timeout=120 install -y --no-install-recommends ";
const std::string kBuild = "cmake --build --preset release --parallel 7";

TEST_F(RunScript, InstallsWhatIsMissingAndSkipsWhatIsDone) {
    Write("missing", "libpng-dev\ng++\n");
    EXPECT_EQ(0, Run({"build"}).exitCode);
    EXPECT_EQ((Parts{kInstall + "g++ libpng-dev", "cmake --fresh --preset release", kBuild}), Log());
    EXPECT_EQ(0, Run({"build"}).exitCode);
    EXPECT_EQ((Parts{kBuild}), Log());

    Write("packaging/packages.txt", "cmake\nlibpng-dev\ng++\nlibnew-dev\n");
    EXPECT_EQ(0, Run({"build"}).exitCode);
    EXPECT_EQ((Parts{"cmake --preset release", kBuild}), Log());
}

TEST_F(RunScript, RefreshesPackageListsWhenAnInstallationFails) {
    Write("missing", "g++\n");
    Write("needs-update", "");
    EXPECT_EQ(0, Run({"packages"}).exitCode);
    EXPECT_TRUE(fs::exists(m_folder.Path("updated")));
    EXPECT_EQ("", Run({"packages"}).output);
}

TEST_F(RunScript, AsksForRootOnlyWhenSomethingIsMissing) {
    EXPECT_EQ(0, Run({"build"}, "1000").exitCode);

    Write("missing", "g++\n");
    const SpawnResult refused = Run({"build"}, "1000");
    EXPECT_EQ(1, refused.exitCode);
    ExpectParts(refused.messages, {"apt-get install --no-install-recommends g++"});
    EXPECT_TRUE(Log().empty()) << "something was done all the same";

    AddProgram("sudo", "echo sudo >>log; exec \"$@\"");
    EXPECT_EQ(0, Run({"packages"}, "1000").exitCode);
    const Parts log = Log();
    ASSERT_LE(2U, log.size());
    EXPECT_EQ("sudo", log[log.size() - 2]);
    EXPECT_EQ(kInstall + "g++", log.back());
}

TEST_F(RunScript, TestsWithWarningsAsErrorsAndPassesTheResultOn) {
    EXPECT_EQ(8, Run({"test", "-R", "Some Name"}).exitCode);
    EXPECT_EQ((Parts{"cmake --fresh --preset release -DZEVRIN_WERROR=ON", kBuild,
                     "ctest --preset release --parallel 7 --no-tests=error -R Some Name"}),
              Log());
    EXPECT_EQ(0, Run({"build"}).exitCode);
    EXPECT_EQ((Parts{kBuild}), Log()) << "a plain build undoes what the tests configured";
}

TEST_F(RunScript, SaysWhatItDoesNotKnow) {
    const SpawnResult preset = Run({"check", "nix"});
    EXPECT_EQ(1, preset.exitCode);
    ExpectParts(preset.messages, {"asan dev release tsan"});
    const SpawnResult verb = Run({"nix"});
    EXPECT_EQ(2, verb.exitCode);
    ExpectParts(verb.messages, {"\"nix\""});
    EXPECT_TRUE(Log().empty());
}

}  // namespace
}  // namespace Zevrin
