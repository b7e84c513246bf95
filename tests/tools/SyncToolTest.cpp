#include <signal.h>

#include "ToolFolder.h"

namespace Zevrin {
namespace {

namespace fs = std::filesystem;

class SyncTool : public ToolFolder {
  protected:
    SyncTool() { fs::create_directory(m_folder.Path("run")); }

    SpawnResult Verify() { return Run("--json sync verify run"); }
};

TEST_F(SyncTool, RecordsARunThatCanBeJudgedAgain) {
    Write("lossy.json", R"({"cameras": [{"frameRate": 60, "faults": {"duplicate": {"share": 0.3}}},)"
                        R"( {"frameRate": 60, "bayer": "RGGB",)"
                        R"( "faults": {"drop": {"share": 0.2}}}]})");
    const SpawnResult run = Run(
        "--simulate lossy.json --json sync 1001 1002 -n 40 -o run --contact-sheet sheet.png --retries 80");
    ASSERT_EQ(0, run.exitCode) << run.messages;
    const Json report = Json::parse(run.output);
    EXPECT_EQ(true, report.at("isInStep"));
    const Json& lossy = report.at("cameras").at(1);
    EXPECT_LE(1, lossy.at("lost").get<int>());
    EXPECT_LE(1, lossy.at("missingSets").get<int>());
    EXPECT_GE(40, lossy.at("images").get<int>() + lossy.at("lost").get<int>());
    EXPECT_NEAR(0, lossy.at("driftPpm").get<double>(), 0.1);
    EXPECT_TRUE(IsWholePng(m_folder.Path("sheet.png")));
    EXPECT_TRUE(fs::exists(m_folder.Path("run/report.html")));

    Json again = Json::parse(Verify().output);
    std::ifstream stream(m_folder.Path("run/report.json"));
    EXPECT_EQ(Json::array(), again.at("problems"));
    again.erase("problems");
    EXPECT_EQ(Json::parse(stream), again);

    std::vector<fs::path> images;
    for (const auto& entry : fs::directory_iterator(m_folder.Path("run"))) {
        if (entry.path().extension() == ".png") {
            images.push_back(entry.path());
        }
    }
    const Json& whole = report.at("cameras").at(0);
    EXPECT_LE(1, whole.at("duplicated").get<int>());
    EXPECT_EQ(images.size(), whole.at("images").get<unsigned int>() + lossy.at("images").get<unsigned int>())
        << "one that came twice has two names";
    fs::resize_file(images[0], 100);
    EXPECT_EQ(1, Verify().exitCode);
    ExpectParts(Verify().messages, {images[0].filename().string() + " has 100 bytes"});
}

TEST_F(SyncTool, LeavesAWholeRecordWhenInterrupted) {
    Process run({kZevrin, "--simulate", "2", "sync", "-n", "100000", "-o", "run", "--format", "raw",
                 "--retries", "50"},
                m_options);
    ASSERT_NO_FATAL_FAILURE(AwaitFileIn("run"));
    run.Signal(SIGINT);
    const SpawnResult result = run.Finish();
    EXPECT_EQ(1, result.exitCode);
    ExpectParts(result.messages, {"camera 1002: stopped"});
    const SpawnResult verified = Verify();
    EXPECT_EQ(0, verified.exitCode) << verified.messages;
    for (const auto& entry : fs::directory_iterator(m_folder.Path("run"))) {
        if (entry.path().extension() == ".raw") {
            ExpectParts(ReadFile(entry.path().string() + ".json"),
                        {"serialNumber", "frameId", "cycleOffset", "exposureSeconds", "gainDb", "stride"});
        }
    }
}

TEST_F(SyncTool, TellsWhatADiskHadNoRoomFor) {
    ExpectParts(Run("--simulate 1 sync -n 3 --format raw -o run", "ulimit -f 100; ").messages,
                {".raw\" cannot be written: File too large"});
    EXPECT_EQ(1, Verify().exitCode);
    ExpectParts(Verify().messages, {"3 of 3 images were never written"});
}

std::string Line(unsigned int serial, unsigned int frame, unsigned int seconds, unsigned int cycle) {
    return R"({"serial": )" + std::to_string(serial) + R"(, "frame": )" + std::to_string(frame) +
           R"(, "stamp": [)" + std::to_string(seconds) + ", " + std::to_string(cycle) + ", 0]}\n";
}

std::string Head(unsigned int images) {
    return R"({"format": "zevrin-sync-index", "version": 1, "cameras": [1, 2], "images": )" +
           std::to_string(images) + "}\n";
}

TEST_F(SyncTool, VerifiesWhatAnIndexSays) {
    const std::string good =
        Line(1, 1, 127, 7998) + Line(1, 2, 0, 500) + Line(2, 1, 0, 3) + Line(2, 2, 0, 500);
    std::string bad;
    for (int line = 0; line < 150; ++line) {
        bad += "{}\n";
    }
    const auto withFile = [](const std::string& file) {
        return Head(5) + Line(1, 1, 0, 0) + Line(1, 2, 0, 500) + Line(2, 1, 0, 0) + Line(2, 2, 0, 500) +
               R"({"serial": 2, "frame": 3, "stamp": [0, 1000, 0], "bytes": 3, "file": )" + file + "}\n";
    };
    const struct {
        std::string index;
        int exitCode;
        Parts messages;
    } cases[] = {
        {Head(4) + good, 0, {}},
        {Head(2) + Line(1, 1, 127, 7998) + Line(2, 1, 0, 4), 1, {"camera 2 is up to 6 cycles"}},
        {Head(1) + Line(1, 1, 0, 0), 1, {"camera 2 has no image"}},
        {withFile("\"file\""), 0, {}},
        {withFile("\"missing\""), 1, {"the image missing is not there"}},
        {withFile("\"../run/file\""), 1, {"line 6: \"file\" is"}},
        {withFile("\"link\""), 1, {"the image link is not there"}},
        {withFile("\"\\u001b[2J\""), 1, {"line 6: \"file\" is"}},
        {Head(7) + good + Line(1, 3, 128, 0) + Line(3, 3, 1, 0) + "{}\n",
         1,
         {"line 6: the image (camera 1, frame 3): the seconds", "line 7: camera 3 is not one",
          "line 8: \"serial\" is missing", "3 problems"}},
        {Head(8) + good + "[1]\n{\n" + std::string(5000, 'x') + "\n" +
             R"({"serial": -1, "frame": 1, "stamp": [0, 0, 0]})",
         1,
         {"line 6: it is no JSON object", "line 7: it is no JSON", "line 8: it is longer than 4096 bytes",
          "line 9: \"serial\" is -1"}},
        {Head(5) + good, 1, {"says that it has 5 images and has 4"}},
        {Head(0), 1, {"no image to be judged"}},
        {Head(2) + Line(1, 1, 0, 0) + Line(2, 1, 0, 0), 1, {"all time stamps are 0"}},
        {Head(154) + good + bad, 1, {"line 105: \"serial\" is missing", "and 50 more", "150 problems"}},
        {"", 1, {"index.jsonl: the file is empty"}},
        {"{\"format\": \"other\", \"version\": 1}\n", 1, {"line 1: it is no index"}},
        {R"({"format": "zevrin-sync-index", "version": 1, "cameras": [1, 1], "images": 0})",
         1,
         {"line 1", "each camera must be there once"}},
    };
    Write("run/file", "abc");
    fs::create_symlink("file", m_folder.Path("run/link"));
    for (const auto& row : cases) {
        Write("run/index.jsonl", row.index);
        const SpawnResult result = Verify();
        EXPECT_EQ(row.exitCode, result.exitCode) << row.index.substr(0, 1000) << result.messages;
        EXPECT_EQ(row.messages.empty(), result.messages.empty()) << result.messages;
        ExpectParts(result.messages, row.messages);
    }
    EXPECT_EQ(2, Run("sync -n 5 verify run").exitCode);
    fs::remove(m_folder.Path("run/index.jsonl"));
    fs::create_directory(m_folder.Path("run/index.jsonl"));
    ExpectParts(Verify().messages, {"is no regular file"});
}

}  // namespace
}  // namespace Zevrin
