// Recordings as people make them, and what they leave on the disk.

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "support/Spawn.h"
#include "support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Zevrin::SpawnOptions;
using Zevrin::SpawnResult;

class Capture : public testing::Test {
  protected:
    void SetUp() override {
        for (const auto& file : std::map<std::string, const char*>{
                 {"two", R"({"cameras": [{"width": 64, "height": 48, "frameRate": 200, "count": 2}]})"},
                 {"lossy", R"({"cameras": [{"width": 64, "height": 48, "frameRate": 200,
                     "faults": {"drop": {"frames": [4]}, "corrupt": {"frames": [8]}}}]})"},
                 {"unruly", R"({"cameras": [{"width": 64, "height": 48, "frameRate": 200,
                     "faults": {"duplicate": {"share": 0.3}, "delay": {"share": 0.3}, "delayUs": 20000}}]})"},
                 {"fast",
                  R"({"cameras": [{"width": 2048, "height": 1024, "frameRate": 400, "paint": false}]})"},
                 {"mixed", R"({"cameras": [{"width": 64, "height": 48, "frameRate": 100},
                     {"width": 640, "height": 480, "frameRate": 20}]})"},
                 {"silent", R"({"clock": "manual", "cameras": [{}]})"}}) {
            std::ofstream(m_folder.Path(file.first + ".json")) << file.second;
        }
        m_options.folder = m_folder.Path();
        m_options.environment = {{"ZEVRIN_TRANSPORTS", "simulated"}};
    }

    static std::string Command(const std::string& arguments) {
        return "exec '" PROGRAM_FOLDER "/zevrin' --json capture -o r " + arguments;
    }

    std::vector<Json> Index() const {
        std::vector<Json> lines;
        std::ifstream stream(m_folder.Path("r/index.jsonl"));
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(Json::parse(line));
        }
        return lines;
    }

    /// The index tells of every file and of no other, each is of its full size, and no frame is unaccounted
    /// for.
    void ExpectWhole(const Json& summary, const std::string& suffix) const {
        std::map<unsigned int, unsigned int> listed;
        const std::vector<Json> index = Index();
        for (const Json& line : index) {
            const std::string path = m_folder.Path("r/" + line.at("file").get<std::string>());
            ++listed[line.at("serialNumber")];
            EXPECT_EQ(line.at("frameId"), line.at("frame")) << path;
            EXPECT_EQ(suffix == ".ppm" ? "RGB8" : "Mono8", line.at("pixelFormat")) << path;
            EXPECT_EQ("Mono8", line.at("sourcePixelFormat")) << path;
            EXPECT_TRUE(fs::exists(path)) << path;
            if (suffix == ".raw") {
                EXPECT_EQ(line.at("width").get<unsigned int>() * line.at("height").get<unsigned int>(),
                          fs::file_size(path));
            }
        }
        const auto entries =
            std::distance(fs::directory_iterator(m_folder.Path("r")), fs::directory_iterator());
        EXPECT_EQ(index.size() * (suffix == ".raw" ? 2 : 1) + (index.empty() ? 0 : 1),
                  static_cast<std::size_t>(entries))
            << "files that the index does not know";
        for (const Json& camera : summary.at("cameras")) {
            EXPECT_EQ(listed[camera.at("serialNumber")], camera.at("written").get<unsigned int>());
            EXPECT_EQ(camera.at("delivered").get<unsigned int>(),
                      camera.at("written").get<unsigned int>() + camera.at("skipped").get<unsigned int>() +
                          camera.at("droppedByQueue").get<unsigned int>() +
                          camera.at("unwritten").get<unsigned int>())
                << camera;
        }
    }

    Zevrin::TemporaryFolder m_folder;
    SpawnOptions m_options;
};

constexpr int kSome = -1;  // more than none

struct Case {
    const char* name;
    const char* before;  ///< of the shell
    const char* arguments;
    const char* suffix;
    int exitCode;
    const char* end;                   ///< null: there is no summary
    std::map<std::string, int> first;  ///< what is told of the first camera
    const char* message;               ///< null: none
};

void PrintTo(const Case& row, std::ostream* pStream) {
    *pStream << row.arguments;
}

class CaptureRuns : public Capture, public testing::WithParamInterface<Case> {};

TEST_P(CaptureRuns, LeaveWholeFilesAndAccountForEveryFrame) {
    const Case& row = GetParam();
    const SpawnResult result =
        Zevrin::SpawnShell(std::string(row.before) + Command(row.arguments), m_options);
    EXPECT_EQ(row.exitCode, result.exitCode) << result.messages;
    EXPECT_EQ(row.message == nullptr, result.messages.empty()) << result.messages;
    if (row.message != nullptr) {
        EXPECT_NE(std::string::npos, result.messages.find(row.message)) << result.messages;
    }
    ASSERT_EQ(row.end == nullptr, result.output.empty()) << result.output;
    if (row.end != nullptr) {
        const Json summary = Json::parse(result.output);
        EXPECT_EQ(row.end, summary.at("end"));
        for (const auto& fact : row.first) {
            const int told = summary.at("cameras")[0].at(fact.first);
            EXPECT_TRUE(fact.second == kSome ? told > 0 : told == fact.second)
                << fact.first << " is " << told << ", not " << fact.second;
        }
        ExpectWhole(summary, row.suffix);
    }
}

// A limit to what may be written to one file takes the place of a full disk: "mixed" meets it with a picture,
// the long run of "two" with its index.
const Case kCases[] = {
    {"Count",
     "",
     "--simulate two.json --all -n 12 --format pgm",
     ".pgm",
     0,
     "count",
     {{"written", 12}, {"skipped", 0}, {"droppedByQueue", 0}, {"corrupt", 0}, {"lost", 0}},
     nullptr},
    {"EveryThird",
     "",
     "--simulate lossy.json -n 5 --every 3 --format raw",
     ".raw",
     0,
     "count",
     {{"written", 5}, {"corrupt", 1}, {"lost", 1}},
     nullptr},
    {"TwiceAndLate",
     "",
     "--simulate unruly.json -n 40 --format raw",
     ".raw",
     0,
     "count",
     {{"written", 40}},
     nullptr},
    {"Duration",
     "",
     "--simulate two.json --all --duration 0.5 --format ppm --pixels rgb8",
     ".ppm",
     0,
     "duration",
     {},
     nullptr},
    {"FullQueue",
     "",
     "--simulate fast.json --duration 1 --queue 1 --writers 1",
     ".png",
     0,
     "duration",
     {{"droppedByQueue", kSome}, {"unwritten", 0}},
     nullptr},
    {"FullDisk",
     "ulimit -f 100; ",
     "--simulate mixed.json --all --keep-free 0 --format raw",
     ".raw",
     1,
     "failure",
     {},
     "File too large; what was written is whole"},
    {"FullAtOnce",
     "ulimit -f 1; ",
     "--simulate two.json --keep-free 0 --format raw 1001",
     ".raw",
     1,
     "failure",
     {{"written", 0}},
     "File too large; nothing was written"},
    {"FullIndex",
     "ulimit -f 20; ",
     "--simulate two.json --all --format raw",
     ".raw",
     1,
     "failure",
     {},
     "index.jsonl\" cannot be written: File too large"},
    {"NoSpace", "", "--simulate two.json --all --keep-free 1073741824", "", 1, nullptr, {}, "MiB free"},
    {"OldRecording",
     "mkdir r; touch r/index.jsonl; ",
     "--simulate 1 -n 1",
     "",
     1,
     nullptr,
     {},
     "holds a recording"},
    {"IntervalOfNothing", "", "--simulate 1 --interval 1", "", 2, nullptr, {}, "needs --burst"},
    {"NoTime", "", "--simulate 1 --duration 0", "", 2, nullptr, {}, "more than 0"},
    {"GreyIntoColour",
     "",
     "--simulate 1 --format ppm",
     "",
     1,
     nullptr,
     {},
     "camera 1001: PPM files hold colour"},
    {"ColourIntoGrey",
     "",
     "--simulate 1 --format pgm --pixels BGR8",
     "",
     2,
     nullptr,
     {},
     "--pixels BGR8 with --format pgm: PGM files hold grey"},
    {"UnknownPixels", "", "--simulate 1 --pixels SignedMono16", "", 2, nullptr, {}, "Mono12Packed"},
    {"UnknownFormat", "", "--simulate 1 --format gif", "", 2, nullptr, {}, "png"},
    {"Silence",
     "",
     "--simulate silent.json --timeout 100",
     "",
     4,
     "failure",
     {{"delivered", 0}},
     "no frame came within 100 ms"},
};

INSTANTIATE_TEST_SUITE_P(Cases, CaptureRuns, testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Capture, BurstsBeginWithASignalAndAnInterruptionEndsInGoodOrder) {
    const struct {
        const char* limit;
        int exitCode;
    } cases[] = {{"", 0}, {" -n 100000", 1}};
    for (const auto& row : cases) {
        fs::remove_all(m_folder.Path("r"));
        Zevrin::Process capture(
            {"bash", "-c", Command("--simulate two.json --all --burst 2 --format raw") + row.limit},
            m_options);
        const auto waitForFiles = [this](std::size_t count) {
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
            while (Index().size() < count) {
                ASSERT_LT(std::chrono::steady_clock::now(), deadline);
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
        };
        waitForFiles(4);
        capture.Signal(SIGUSR1);
        waitForFiles(8);
        capture.Signal(SIGTERM);
        const SpawnResult result = capture.Finish();
        EXPECT_EQ(row.exitCode, result.exitCode) << result.messages;
        const Json summary = Json::parse(result.output);
        EXPECT_EQ("interruption", summary.at("end"));
        ExpectWhole(summary, ".raw");
        std::map<int, int> bursts;
        for (const Json& line : Index()) {
            ++bursts[line.at("burst")];
        }
        EXPECT_EQ((std::map<int, int>{{1, 4}, {2, 4}}), bursts);
    }
}

}  // namespace
