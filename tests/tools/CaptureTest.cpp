// Recordings as people make them, and what they leave on the disk.

#include <signal.h>

#include <map>

#include "ToolFolder.h"
#include "WriteQueue.h"

namespace Zevrin {
namespace {

namespace fs = std::filesystem;

class Capture : public ToolFolder {
  protected:
    Capture() {
        Write("two.json", R"({"cameras": [{"width": 64, "height": 48, "frameRate": 200, "count": 2}]})");
        Write("lossy.json", R"({"cameras": [{"width": 64, "height": 48, "frameRate": 200,
            "faults": {"drop": {"frames": [4]}, "corrupt": {"frames": [8]}}}]})");
        Write("unruly.json", R"({"cameras": [{"width": 64, "height": 48, "frameRate": 200,
            "faults": {"duplicate": {"share": 0.3}, "delay": {"share": 0.3}, "delayUs": 20000}}]})");
        Write("fast.json",
              R"({"cameras": [{"width": 2048, "height": 1024, "frameRate": 400, "paint": false}]})");
        Write("mixed.json", R"({"cameras": [{"width": 64, "height": 48, "frameRate": 100},
            {"width": 640, "height": 480, "frameRate": 20}]})");
        Write("silent.json", R"({"clock": "manual", "cameras": [{}]})");
    }

    std::vector<Json> Index() const {
        std::vector<Json> lines;
        std::ifstream stream(m_folder.Path("r/index.jsonl"));
        for (std::string line; std::getline(stream, line) && !stream.eof();) {  // whole lines
            lines.push_back(Json::parse(line));
        }
        return lines;
    }

    /// The index tells of every file and of no other, each is of its full size, and no frame is unaccounted
    /// for.
    void ExpectWhole(const Json& summary, bool isRaw) const {
        std::map<int, int> listed;
        const std::vector<Json> index = Index();
        for (const Json& line : index) {
            const std::string path = m_folder.Path("r/" + line.at("file").get<std::string>());
            ++listed[line.at("serialNumber")];
            EXPECT_EQ(line.at("frameId"), line.at("frame")) << path;
            const auto size = line.at("width").get<std::size_t>() * line.at("height").get<std::size_t>();
            EXPECT_EQ(fs::path(path).extension() == ".ppm" ? "RGB8" : "Mono8", line.at("pixelFormat"))
                << path;
            EXPECT_EQ("Mono8", line.at("sourcePixelFormat")) << path;
            EXPECT_FALSE(line.contains("cycleCount")) << "nobody has stamped it: " << path;
            EXPECT_TRUE(isRaw ? fs::file_size(path) == size : fs::exists(path)) << path;
        }
        const auto entries =
            std::distance(fs::directory_iterator(m_folder.Path("r")), fs::directory_iterator());
        EXPECT_EQ(index.size() * (isRaw ? 2 : 1) + (index.empty() ? 0 : 1), static_cast<std::size_t>(entries))
            << "files that the index does not know";
        for (const Json& camera : summary.at("cameras")) {
            EXPECT_EQ(listed[camera.at("serialNumber")], camera.at("written").get<int>());
            int sum = 0;
            for (const char* count : {"written", "skipped", "droppedByQueue", "unwritten"}) {
                sum += camera.at(count).get<int>();
            }
            EXPECT_EQ(camera.at("delivered"), sum) << camera;
        }
    }
};

struct Case {
    const char* name;
    const char* arguments;
    int exitCode;
    const char* end;                        ///< null: there is no summary
    std::map<std::string, int> first = {};  ///< what is told of the first camera
    const char* message = nullptr;          ///< null: none
    const char* before = "";                ///< of the shell
};

void PrintTo(const Case& row, std::ostream* pStream) {
    *pStream << row.arguments;
}

class CaptureRuns : public Capture, public testing::WithParamInterface<Case> {};

TEST_P(CaptureRuns, LeaveWholeFilesAndAccountForEveryFrame) {
    const Case& row = GetParam();
    const SpawnResult result =
        Run(std::string("--json capture -o r --simulate ") + row.arguments, row.before);
    EXPECT_EQ(row.exitCode, result.exitCode) << result.messages;
    EXPECT_EQ(row.message == nullptr, result.messages.empty()) << result.messages;
    ExpectParts(result.messages, {row.message != nullptr ? row.message : ""});
    ASSERT_EQ(row.end == nullptr, result.output.empty()) << result.output;
    if (row.end != nullptr) {
        const Json summary = Json::parse(result.output);
        EXPECT_EQ(row.end, summary.at("end"));
        for (const auto& fact : row.first) {
            EXPECT_EQ(fact.second, summary.at("cameras")[0].at(fact.first)) << fact.first;
        }
        ExpectWhole(summary, std::string(row.arguments).find("--format raw") != std::string::npos);
    }
}

// A limit to what may be written to one file takes the place of a full disk: "mixed" meets it with a picture,
// the long run of "two" with its index.
constexpr auto kWhole = "File too large; what was written is whole";
constexpr auto kNothing = "File too large; nothing was written";
constexpr auto kTiny = "ulimit -f 1; ";
constexpr auto kNoIndex = "index.jsonl\" cannot be written: File too large";
const std::map<std::string, int> kFiveOfLossy = {{"written", 5}, {"corrupt", 1}, {"lost", 1}};
const Case kCases[] = {
    {"Count", "two.json --all -n 12 --format pgm", 0, "count", {{"written", 12}, {"skipped", 0}}},
    {"EveryThird", "lossy.json -n 5 --every 3 --format raw", 0, "count", kFiveOfLossy},
    {"TwiceAndLate", "unruly.json -n 40 --format raw", 0, "count", {{"written", 40}}},
    {"Duration", "two.json --all --duration 0.5 --format ppm --pixels rgb8", 0, "duration"},
    {"FullQueue", "fast.json --duration 1 --queue 1 --writers 1", 0, "duration", {{"unwritten", 0}}},
    {"FullDisk", "mixed.json --all --keep-free 0 --format raw", 1, "failure", {}, kWhole, "ulimit -f 100; "},
    {"FullWithRaw", "mixed.json --keep-free 0 1002 --format raw", 1, "failure", {}, kNothing, kTiny},
    {"FullWithPng", "mixed.json --keep-free 0 1002 --format png", 1, "failure", {}, kNothing, kTiny},
    {"FullWithNumpy", "mixed.json --keep-free 0 1002 --format npy", 1, "failure", {}, kNothing, kTiny},
    {"FullWithPgm", "mixed.json --keep-free 0 1002 --format pgm", 1, "failure", {}, kNothing, kTiny},
#ifdef ZEVRIN_WITH_TIFF
    {"FullWithTiff", "mixed.json --keep-free 0 1002 --format tif", 1, "failure", {}, kNothing, kTiny},
#endif
    {"FullIndex", "two.json --all --format raw", 1, "failure", {}, kNoIndex, "ulimit -f 20; "},
    {"NoSpace", "two.json --all --keep-free 1073741824", 1, nullptr, {}, "MiB: nothing can be written"},
    {"OldRecording", "1 -n 1", 1, nullptr, {}, "holds a recording", "mkdir r; touch r/index.jsonl; "},
    {"IntervalOfNothing", "1 --interval 1", 2, nullptr, {}, "needs --burst"},
    {"NoTime", "1 --duration 0", 2, nullptr, {}, "more than 0"},
    {"GreyIntoColour", "1 --format ppm", 1, nullptr, {}, "camera 1001: PPM files hold colour"},
    {"ColourIntoGrey", "1 --format pgm --pixels BGR8", 2, nullptr, {}, "--format pgm: PGM files hold grey"},
    {"UnknownPixels", "1 --pixels SignedMono16", 2, nullptr, {}, "Mono12Packed"},
    {"Silence", "silent.json --timeout 100", 4, "failure", {{"delivered", 0}}, "no frame came within 100 ms"},
};

INSTANTIATE_TEST_SUITE_P(Cases, CaptureRuns, testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

// The recordings above cannot tell: whether a writer is late depends on the machine.
TEST(WriteQueue, HasNoRoomUntilAFrameIsWritten) {
    ZevrinTool::WriteQueue queue({1, 0}, 2);
    const auto push = [&queue](std::size_t camera) {
        ZevrinTool::Shot shot;
        shot.camera = camera;
        return queue.Push(std::move(shot));
    };
    EXPECT_TRUE(push(0));
    EXPECT_FALSE(push(0));
    EXPECT_TRUE(push(1)) << "the room of another camera";
    ZevrinTool::Shot taken;
    ASSERT_TRUE(queue.Pop(&taken));
    EXPECT_FALSE(push(0)) << "it is being written";
    queue.Finish(taken.camera, 0);
    EXPECT_TRUE(push(0));
    EXPECT_EQ(2U, queue.GetHighest().frames);
    EXPECT_EQ((std::vector<unsigned long long>{1, 1}), queue.Discard());
    EXPECT_FALSE(push(1)) << "it is closed";
    EXPECT_FALSE(queue.Pop(&taken));
}

TEST_F(Capture, BurstsBeginWithASignalAndAnInterruptionEndsInGoodOrder) {
    Process capture({kZevrin, "--json", "--simulate", "two.json", "capture", "-o", "r", "--all", "--burst",
                     "2", "--format", "raw"},
                    m_options);
    ASSERT_TRUE(Await([this] { return Index().size() >= 4; }));
    capture.Signal(SIGUSR1);
    ASSERT_TRUE(Await([this] { return Index().size() >= 8; }));
    capture.Signal(SIGTERM);
    const SpawnResult result = capture.Finish();
    EXPECT_EQ(0, result.exitCode) << result.messages;
    const Json summary = Json::parse(result.output);
    EXPECT_EQ("interruption", summary.at("end"));
    ExpectWhole(summary, true);
    std::map<int, int> bursts;
    for (const Json& line : Index()) {
        ++bursts[line.at("burst")];
    }
    EXPECT_EQ((std::map<int, int>{{1, 4}, {2, 4}}), bursts);
}

}  // namespace
}  // namespace Zevrin
