#include <regex>

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
    Write("lossy.json", R"({"cameras": [{"frameRate": 60, "faults": {"duplicate": {"share": 0.3}}},
        {"frameRate": 60, "bayer": "RGGB", "faults": {"drop": {"share": 0.2}}}]})");
    const SpawnResult run = Run(
        "--simulate lossy.json --json sync 1001 1002 -n 40 -o run --contact-sheet sheet.png --retries 80");
    ASSERT_EQ(0, run.exitCode) << run.messages;
    const Json report = Json::parse(run.output);
    EXPECT_EQ(true, report.at("isInStep"));
    const Json& lossy = report.at("cameras").at(1);
    EXPECT_LE(1, lossy.at("lost"));
    EXPECT_LE(1, lossy.at("missingSets"));
    EXPECT_GE(40, lossy.at("images").get<int>() + lossy.at("lost").get<int>());
    EXPECT_NEAR(0, lossy.at("driftPpm"), 0.1);
    EXPECT_TRUE(IsWholePng(m_folder.Path("sheet.png")));

    Json again = Json::parse(Verify().output);
    EXPECT_EQ(Json::array(), again.at("problems"));
    again.erase("problems");
    EXPECT_EQ(Json::parse(ReadFile(m_folder.Path("run/report.json"))), again);

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

TEST_F(SyncTool, SaysWhereRawImagesComeFromAndWhatADiskHadNoRoomFor) {
    ASSERT_EQ(0, Run("--simulate 1 sync -n 1 --format raw -o whole").exitCode);
    unsigned int images = 0;
    for (const auto& entry : fs::directory_iterator(m_folder.Path("whole"))) {
        if (entry.path().extension() == ".raw") {
            ++images;
            ExpectParts(ReadFile(entry.path().string() + ".json"),
                        {"serialNumber", "frameId", "cycleOffset", "exposureSeconds", "gainDb", "stride"});
        }
    }
    EXPECT_EQ(1U, images);
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
    const std::string bad = std::regex_replace(std::string(150, 'x'), std::regex("x"), "{}\n");
    const auto withFile = [&](const std::string& file) {
        return Head(5) + good + R"({"serial": 2, "frame": 3, "stamp": [0, 1000, 0], "bytes": 3, "file": )" +
               file + "}\n";
    };
    const struct {
        std::string index;
        Parts messages;  ///< none: it is good
    } cases[] = {
        {Head(4) + good, {}},
        {Head(2) + Line(1, 1, 127, 7998) + Line(2, 1, 0, 4), {"camera 2 is up to 6 cycles"}},
        {Head(1) + Line(1, 1, 0, 0), {"camera 2 has no image"}},
        {withFile("\"file\""), {}},
        {withFile("\"missing\""), {"the image missing is not there"}},
        {withFile("\"../run/file\""), {"line 6: \"file\" is"}},
        {withFile("\"link\""), {"the image link is not there"}},
        {withFile("\"\\u001b[2J\""), {"line 6: \"file\" is"}},
        {Head(11) + good + Line(1, 3, 128, 0) + Line(3, 3, 1, 0) + "{}\n[1]\n{\n" + std::string(5000, 'x') +
             "\n" + R"({"serial": -1, "frame": 1, "stamp": [0, 0, 0]})",
         {"line 6: the image (camera 1, frame 3): the seconds", "line 7: camera 3 is not one",
          "line 8: \"serial\" is missing", "line 9: it is no JSON object", "line 10: it is no JSON",
          "line 11: it is longer than 4096 bytes", "line 12: \"serial\" is -1", "7 problems"}},
        {Head(5) + good, {"says that it has 5 images and has 4"}},
        {Head(0), {"no image to be judged"}},
        {Head(2) + Line(1, 1, 0, 0) + Line(2, 1, 0, 0), {"all time stamps are 0"}},
        {Head(154) + good + bad, {"line 105: \"serial\" is missing", "and 50 more", "150 problems"}},
        {"", {"index.jsonl: the file is empty"}},
        {"{\"format\": \"other\", \"version\": 1}\n", {"line 1: it is no index"}},
        {R"({"format": "zevrin-sync-index", "version": 1, "cameras": [1, 1], "images": 0})",
         {"line 1", "each camera must be there once"}},
    };
    Write("run/file", "abc");
    fs::create_symlink("file", m_folder.Path("run/link"));
    for (const auto& row : cases) {
        Write("run/index.jsonl", row.index);
        const SpawnResult result = Verify();
        EXPECT_EQ(row.messages.empty() ? 0 : 1, result.exitCode)
            << row.index.substr(0, 1000) << result.messages;
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
