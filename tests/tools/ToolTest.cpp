#include <signal.h>

#include <ostream>
#include <regex>

#include "ToolFolder.h"

namespace Zevrin {
namespace {

struct Case {
    const char* arguments;
    int exitCode;
    Parts parts;       ///< of standard output when it is good, else of standard error; none: it is empty
    Parts other = {};  ///< of the other one
};

void PrintTo(const Case& row, std::ostream* pStream) {
    *pStream << "zevrin " << row.arguments;
}

class ToolAnswers : public ToolFolder, public testing::WithParamInterface<Case> {
  protected:
    void SetUp() override {
        std::filesystem::create_directory(m_folder.Path("recording"));
        for (const auto& [name, text] : {
                 std::pair("broken.json", R"({"cameras": [{"serial": 1001,]})"),
                 std::pair("wrong.json", R"({"cameras": [{"serial": "many"}]})"),
                 std::pair("silent.json", R"({"clock": "manual", "cameras": [{}]})"),
                 std::pair("faulty.json",
                           R"({"cameras": [{"faults": {"registers": {"addresses": [1552]}}}]})"),
                 std::pair("deaf.json",
                           R"({"cameras": [{"faults": {"registers": {"addresses": ["0x81C","0x834"]}}}]})"),
                 std::pair("big.json", R"({"cameras": [{"width": 1280, "height": 960}]})"),
                 std::pair("twins.json", R"({"duplicateSerials": true,
                     "buses": [{"cameras": [{"serial": 5}]}, {"cameras": [{"serial": 5}]}]})"),
                 std::pair("gige.json", R"({"cameras": [{"interface": "gige"}]})"),
                 std::pair("few.txt", "1, 2 # three\n0x3"),
                 std::pair("apart.json", R"({"cameras": [{},
                     {"faults": {"registers": {"writeLatencyUs": 2000}}}, {"interface": "u3v"}]})"),
                 std::pair("file", "not a folder"),
                 std::pair("recording/index.jsonl", ""),
             }) {
            Write(name, text);
        }
    }
};

TEST_P(ToolAnswers, WithOutputMessagesAndExitCode) {
    const Case& row = GetParam();
    const SpawnResult result = SpawnShell("'" + kZevrin + "' " + row.arguments, m_options);
    EXPECT_EQ(row.exitCode, result.exitCode) << result.messages;
    const Parts& output = row.exitCode == 0 ? row.parts : row.other;
    const Parts& messages = row.exitCode == 0 ? row.other : row.parts;
    ExpectParts(result.output, output);
    ExpectParts(result.messages, messages);
    EXPECT_EQ(output.empty(), result.output.empty()) << result.output;
    EXPECT_EQ(messages.empty(), result.messages.empty()) << result.messages;
}

const Case kCases[] = {
    // Usage.
    {"--version", 0, {"zevrin " PROJECT_VERSION "\n"}},
    {"--help", 0, {"Usage: zevrin [global options] <verb> [arguments]", "Examples:"}},
    {"", 2, {"a verb is needed; there are: list info reg grab"}},
    {"reg nix", 2, {"there is no verb \"nix\"; there are: read write"}},
    {"list --nix", 2, {"--nix", "`zevrin list --help`"}},
    {"strobe set 1 --nix 5 1001", 2, {"there is no option \"--nix\""}},
    {"property --nix=3", 2, {"no option \"--nix\"", "`zevrin property --help`"}},
    {"trigger set --on=5", 2, {"--on takes no value"}},
    {"--simulate", 2, {"--simulate: 1 required"}},
    {"--completion fish", 2, {"\"fish\""}},
    // Simulations.
    {"list", 0, {}, {"no camera was found"}},
    {"--simulate 2 list", 0, {"SERIAL", "1001", "1002", "Simulated"}},
    {"list --simulate 2", 0, {"1002"}},
    {"--simulate 1 list; ZEVRIN_TRANSPORTS=simulated,nix '" PROGRAM_FOLDER "/zevrin' --simulate 1 list",
     1,
     {"ZEVRIN_TRANSPORTS names the transport \"nix\"; this build has simulated"},
     {"1001"}},
    {"--simulate twins.json list", 0, {"5  "}, {"left out", "serial number 5"}},
    {"--simulate 0 list", 2, {"--simulate", "1 to 64"}},
    {"--simulate '' list", 2, {"--simulate: \"\" is neither a number of cameras"}},
    {"--simulate none.json list", 2, {"--simulate: \"none.json\" is neither a number of cameras"}},
    {"--version; ZEVRIN_LOG=foo '" PROGRAM_FOLDER "/zevrin' --simulate 1 list",
     0,
     {"1001"},
     {"ZEVRIN_LOG is \"foo\"; it must be off, error, warn, info, debug or trace"}},
    {"--simulate broken.json list",
     1,
     {"--simulate: broken.json: The description is not JSON: parse error at line 1"}},
    {"--simulate wrong.json list", 1, {"--simulate: wrong.json: ", "serial", "many"}},
    {"--version; ZEVRIN_SIMULATE=65 '" PROGRAM_FOLDER "/zevrin' list",
     1,
     {"ZEVRIN_SIMULATE cannot be followed", "1 to 64"},
     {"zevrin"}},
    {"--simulate 1 --json list --watch --duration 0.01", 0, {"\"arrived\",\"serialNumber\":1001,"}},
    {"list --duration 5", 2, {"--watch"}},
    // Choosing a camera.
    {"--simulate 1 info", 0, {"Serial number       1001\n", "Power               on\n"}},
    {"--simulate 2 info", 2, {"a serial number is needed", "1001", "1002"}},
    {"--simulate 2 info 4711", 3, {"serial number 4711", "1001", "1002"}},
    {"grab", 3, {"no camera was found"}},
    {"info 4294967296", 2, {"\"4294967296\"", "4294967295"}},
    {"--simulate 2 info 1001 1002", 2, {"SERIAL"}},
    // Registers.
    {"--simulate 1 reg read 0x610", 0, {"0x00000610  0x80000000\n"}},
    {"--simulate 1 reg read 1552 1001", 0, {"0x00000610  0x80000000\n"}},
    {"--simulate 1 reg read 0x60c -n 2", 0, {"0x0000060C  ", "0x00000610  0x80000000\n"}},
    {"--simulate 1 reg read --whole 0xF0F00610", 0, {"0xF0F00610  0x80000000\n"}},
    {"--simulate 1 reg read --base 0xF00610", 0, {"0x00F00610  0x80000000\n"}},
    {"--simulate 1 reg write 0x610 0", 0, {}},
    {"--simulate 1 --json reg write 0x604 0,0xE0000000 1001", 0, {"3758096384"}},
    {"plan --share 100 2x640x480:mono8@100", 0, {"2       1500 bytes  12186 ns", "516.694 Mbit/s"}},
    {"--json plan 4x1280x1024:Raw8@30", 1, {"1322.13 Mbit/s are wanted and 950.00 can"}},
    {"plan 1280:Raw8@30", 2, {"CAMERA", "\"1280:Raw8@30\" is no camera"}},
    {"reg read 0x613", 2, {"\"0x613\" is not a multiple of 4"}},
    {"reg read 0x610h", 2, {"\"0x610h\" is not a number"}},
    {"reg read 0x100000000", 2, {"\"0x100000000\""}},
    {"reg read 0xFFFFFFF8 -n 3", 2, {"0xFFFFFFF8", "past the 32-bit address space"}},
    {"reg read 0 -n 0", 2, {"\"0\" is out of range; it must be 1 to 65536"}},
    {"reg read --base --memory 0", 2, {"--base", "--memory"}},
    {"reg write 0x610", 2, {"VALUE"}},
    {"reg write 0x610 1,,2", 2, {"VALUE", "\"\" is not a number"}},
    {"--simulate faulty.json reg read 0x610", 1, {"camera 1001", "610"}},
    // Grabbing.
    {"--simulate 1 grab -n 2", 0, {"SERIAL", "1001", "640 x 480"}},
    {"--simulate 1 grab --all 1001", 2, {"SERIAL", "--all"}},
    {"grab -n 0", 2, {"\"0\" is out of range; it must be 1 to 1000000"}},
    {"--simulate 1 grab -o file/images", 1, {"folder \"file/images\"", "Not a directory"}},
    {"--simulate 1 grab -o $(printf %0300d 1)", 1, {"1\" cannot be made: File name too long"}},
    {"--simulate silent.json grab --timeout 150",
     4,
     {"camera 1001", "no frame came within 150 ms", "0 of 10"},
     {"1001"}},
    // Starting in step.
    {"--simulate 2 sync 1001 1001", 2, {"given twice"}},
    {"--simulate 2 sync --format gif", 2, {"gif", "png, raw, none", "`zevrin sync --help`"}},
    {"--simulate gige.json sync",
     1,
     {"GigE Vision cameras share no bus clock", "with GigE Cameras is not supported"}},
    {"--simulate apart.json sync --retries 1",
     1,
     {"camera 1003 (USB3 Vision) is left out",
      "start 1 of at most 2 failed: Failed to synchronize cameras. Starting again.", "start 2 of at most 2"}},
    {"sync verify none", 1, {"no file \"none/index.jsonl\""}},
    {"sync verify", 2, {"DIR", "`zevrin sync verify --help`"}},
    {"--simulate 1 sync -o recording", 1, {"\"recording\" holds a recording already (index.jsonl)"}},
    {"--simulate 1 grab -o recording", 1, {"\"recording\" holds a recording already (index.jsonl)"}},
    // Settings: what works, what cannot be, and what this camera lacks.
    {"--simulate 1 property list", 0, {"shutter", "0.005 s", "2e-05 to 0.0819 s", "read only"}},
    {"--simulate 1 property set gain 5.5", 0, {"5.5 dB", "Raw                 55\n"}},
    {"--simulate 1 property set gain raw:0x37", 0, {"5.5 dB"}},
    {"--simulate 1 property set gain 99", 2, {"is to be 99; it must be 0 to 24 dB"}},
    {"property set gain 1e99", 2, {"VALUE: \"1e99\" is out of range"}},
    {"--simulate deaf.json property list",
     1,
     {"camera 1001", "(SHUTTER) of camera 1001 fails"},
     {"brightness", "gain"}},
    {"--simulate deaf.json trigger show",
     1,
     {"camera 1001", "(TRIGGER_DELAY) of camera 1001 fails"},
     {"Delay               not available\n", "Modes               0, 1, 14, 15\n"}},
    {"property get nix", 2, {"\"nix\" is not known", "shutter"}},
    {"--simulate 1 property get white-balance", 1, {"camera 1001 has no white balance"}},
    {"--simulate 1 property set temperature 20", 1, {"can only be read"}},
    {"property set gain 1 2 3", 2, {"more arguments than the verb takes"}},
    {"--simulate 1 trigger set --on --source 7 --mode 15 --parameter 5 --delay 0.005",
     0,
     {"7 (software)", "Delay               0.005 s\n"}},
    {"--simulate 1 trigger set", 2, {"nothing is to be set"}},
    {"--simulate 1 trigger set --mode 5", 1, {"no trigger mode 5; it has 0, 1, 14, 15"}},
    {"--simulate 1 trigger fire", 1, {"The trigger is off"}},
    {"--simulate 1 strobe set 1 --on --delay 1.5 --duration 3", 0, {"1.5 ms", "3 ms"}},
    {"--simulate 1 strobe set 1 --delay 100", 2, {"100 ms; it must be 0 to 40.95 ms"}},
    {"strobe set 1 --polarity up", 2, {"\"up\" is not known; there are: low, high"}},
    {"--simulate 1 lut set file", 2, {"line 1 of file: \"not\" is not a number"}},
    {"--simulate 1 lut set none.txt", 1, {"\"none.txt\" cannot be read: No such file"}},
    {"--simulate 1 lut set few.txt", 2, {"\"few.txt\" has 3 entries; it must have 1024"}},
    {"--simulate 1 lut set /dev/zero", 1, {"\"/dev/zero\" cannot be read: it is larger"}},
    {"--simulate 1 lut set .", 1, {"\".\" cannot be read: Is a directory"}},
    {"--simulate 1 lut gamma 2 --bank 1", 0, {"Entries             1024\n"}},
    {"--simulate 1 lut gamma 2 --bank 2", 1, {"Bank 2", "cannot be written"}},
    {"--simulate 1 memory save 2", 0, {"Highest channel     3\n"}},
    {"--simulate 1 memory restore 9", 2, {"0 (factory settings) to 3"}},
    {"--simulate 1 gpio set 3 out", 0, {"Direction           out\n"}},
    {"--simulate 1 gpio set 5 out", 1, {"camera 1001: pin 5 stays in"}},
    {"--simulate 1 embedded on timestamp", 0, {"timestamp  yes        on\n"}},
    {"embedded on nix", 2, {"\"nix\" is not known; there are: timestamp, 1"}},
    {"--simulate 1 stats --reset --watch --stream -n 2 --interval 10", 0, {"IMAGES", "TEMPERATURE"}},
    {"--simulate faulty.json stats", 1, {"Error reading power register of the camera."}},
    {"time", 3, {"no camera was found"}},
    {"--simulate gige.json events --event FrameStart -n 1", 0, {"0x9001  FrameStart  00000001\n"}},
    {"--simulate gige.json events --event nix", 1, {"does not report an event \"nix\""}},
    {"--simulate 1 events", 1, {"has no device events", "GigE Vision or USB3 Vision"}},
    {"--simulate 1 format region --left 160 --width 320 --height 240",
     0,
     {"Left edge           160\n", "Image width         320\n"}},
    {"--simulate 1 format region --width 3", 2, {"must be 4 to 640 in steps of 4"}},
    {"--simulate big.json format standard 2 6 --rate 240",
     1,
     {"no frame rate 240", "; it has 1.875, 3.75, 7.5, 15, 30, 60\n"}},
    {"--simulate 1 format standard 1 3", 1, {"no mode 3 of format 1"}},
    {"--simulate 1 list >/dev/full", 1, {"standard output cannot be written"}},
};

INSTANTIATE_TEST_SUITE_P(Cases, ToolAnswers, testing::ValuesIn(kCases), [](const auto& row) {
    const std::string arguments = std::string(row.param.arguments).substr(0, 60);
    return std::to_string(row.index) + std::regex_replace(arguments, std::regex("\\W+"), "_");
});

using Tool = ToolFolder;

TEST_F(Tool, WritesJson) {
    const struct {
        const char* arguments;
        Json expected;
    } cases[] = {
        {"list", Json::parse(R"({"cameras": [{"serialNumber": 1001}, {"serialNumber": 1002}]})")},
        {"info 1002",
         Json::parse(R"({"serialNumber": 1002, "model": "Simulated Colour", "colorFilter": "RGGB",
             "power": true, "transmission": false, "color": true, "width": 640, "height": 480, "colorCoding": "Raw8"})")},
        {"reg read 0x610 1001", Json::parse(R"({"serialNumber": 1001, "space": "command",
             "registers": [{"address": 1552, "value": 2147483648}]})")},
        {"grab -n 2 1002 1001",
         Json::parse(R"({"cameras": [{"serialNumber": 1002, "frames": 2, "failure": null},
             {"serialNumber": 1001, "frames": 2, "corrupt": 0, "driverDropped": 0}]})")},
        {"property list 1001", Json::parse(R"({"properties": [{"name": "brightness", "max": 10}]})")},
        {"property set gain 5.5 1001",
         Json::parse(R"({"name": "gain", "value": 5.5, "raw": 55, "unit": "decibel"})")},
        {"trigger show 1001", Json::parse(R"({"trigger": false, "modes": [0, 1, 14, 15]})")},
        {"strobe show 1001", Json::parse(R"({"outputs": [{"output": 0, "on": false, "maxMs": 40.95}]})")},
        {"lut bank 1 1002",
         Json::parse(R"({"lut": false, "activeBank": 1, "channels": 3, "banks": [{"active": false}]})")},
        {"lut get 1001", Json::parse(R"({"bank": 0, "channel": 0, "entries": [0, 1, 2]})")},
        {"memory show 1001", Json::parse(R"({"current": 0, "highest": 3})")},
        {"gpio show 1001", Json::parse(R"({"pins": [{"pin": 0, "direction": "in"}]})")},
        {"embedded list 1001",
         Json::parse(R"({"items": [{"item": "timestamp", "available": true, "on": false}]})")},
        {"stats 1001",
         Json::parse(R"({"imagesDropped": 0, "power": true, "registerReadFailures": 0, "cycleSeconds": 0})")},
        {"time 1001", Json::parse(R"({"cycleSeconds": 0})")},
        {"format list 1001",
         Json::parse(R"({"modes": [{"format": 0, "mode": 5, "colorCodings": ["Mono8"]}]})")},
    };
    for (const auto& row : cases) {
        const SpawnResult result = Run(std::string("--simulate 2 --json ") + row.arguments);
        EXPECT_EQ(0, result.exitCode) << result.messages;
        const Json document = Json::parse(result.output, nullptr, false);
        const Json expected = row.expected.flatten();
        for (const auto& entry : expected.items()) {
            const Json::json_pointer pointer(entry.key());
            ASSERT_TRUE(document.contains(pointer))
                << row.arguments << ": no " << entry.key() << " in " << document;
            EXPECT_EQ(entry.value(), document[pointer]) << row.arguments << ": " << entry.key();
        }
    }
}

TEST_F(Tool, GrabsNumberedFilesAndCountsWhatWasDropped) {
    Write("lossy.json", R"({"cameras": [{"faults": {"drop": {"frames": [3, 4]}}}, {"bayer": "RGGB"}]})");
    const SpawnResult result = Run("--simulate lossy.json --json grab --all -n 5 -o a/b");
    ASSERT_EQ(0, result.exitCode) << result.messages;
    const Json cameras = Json::parse(result.output).at("cameras");
    ASSERT_EQ(2U, cameras.size());
    EXPECT_EQ(2, cameras[0].at("dropped"));
    EXPECT_EQ(0, cameras[1].at("dropped"));
    EXPECT_LT(0.0, cameras[0].at("framesPerSecond").get<double>());
    EXPECT_EQ(10U, CountWholePngs("a/b"));
    for (const Json& camera : cameras) {
        for (const Json& file : camera.at("files")) {
            const std::string picture = ReadFile(m_folder.Path(file));
            ExpectParts(picture, {"serialNumber", "frameId", "time", "exposureSeconds", "gainDb"});
            EXPECT_EQ(std::string::npos, picture.find("cycleCount")) << "nobody has stamped it: " << file;
        }
    }
}

TEST_F(Tool, EndsInGoodOrderWhenInterrupted) {
    Process grab({kZevrin, "--simulate", "1", "grab", "-n", "100000", "-o", "images"}, m_options);
    ASSERT_NO_FATAL_FAILURE(AwaitFileIn("images"));
    grab.Signal(SIGINT);
    const SpawnResult result = grab.Finish();
    EXPECT_EQ(1, result.exitCode);
    ExpectParts(result.output, {"SERIAL", "1001"});
    ExpectParts(result.messages, {"camera 1001: stopped", "of 100000 frames"});
    EXPECT_LE(1U, CountWholePngs("images"));
}

}  // namespace
}  // namespace Zevrin
