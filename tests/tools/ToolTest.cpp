#include <signal.h>

#include <regex>

#include "ToolFolder.h"

namespace Zevrin {
namespace {

struct Case {
    const char* arguments;
    int exitCode;
    Parts parts;       ///< of standard output when it is good, else of standard error; none: it is empty
    Parts other = {};  ///< of the other one
    const char* before = "";  ///< of the shell
};

void PrintTo(const Case& row, std::ostream* pStream) {
    *pStream << "zevrin " << row.arguments;
}

constexpr const char* kFiles[][2] = {
    {"broken.json", R"({"cameras": [{"serial": 1001,]})"},
    {"silent.json", R"({"clock": "manual", "cameras": [{}]})"},
    {"faulty.json", R"({"cameras": [{"faults": {"registers": {"addresses": [1552]}}}]})"},
    {"deaf.json", R"({"cameras": [{"faults": {"registers": {"addresses": ["0x81C", "0x834"]}}}]})"},
    {"big.json", R"({"cameras": [{"width": 1280, "height": 960}]})"},
    {"twins.json", R"({"duplicateSerials": true,
        "buses": [{"cameras": [{"serial": 5}]}, {"cameras": [{"serial": 5}]}]})"},
    {"gige.json", R"({"cameras": [{"interface": "gige"}]})"},
    {"few.txt", "1, 2 # three\n0x3"},
    {"apart.json",
     R"({"cameras": [{}, {"faults": {"registers": {"writeLatencyUs": 2000}}}, {"interface": "u3v"}]})"},
    {"pair.json", R"({"cameras": [{"faults": {"drop": {"frames": [3, 4]}}}, {"bayer": "RGGB"}]})"},
    {"file", "not a folder"},
};

class Tool : public ToolFolder {
  protected:
    Tool() {
        for (const auto& [name, text] : kFiles) {
            Write(name, text);
        }
    }
};

class ToolAnswers : public Tool, public testing::WithParamInterface<Case> {};

TEST_P(ToolAnswers, WithOutputMessagesAndExitCode) {
    const Case& row = GetParam();
    const SpawnResult result = Run(row.arguments, row.before);
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
    {"", 2, {"a verb is needed; there are: list info reg grab"}},
    {"reg nix", 2, {"there is no verb \"nix\"; there are: read write"}},
    {"strobe set 1 --nix=5 1001", 2, {"no option \"--nix\"", "`zevrin strobe set --help`"}},
    {"trigger set --on=5", 2, {"--on takes no value"}},
    // Simulations.
    {"list", 0, {}, {"no camera was found"}},
    {"list --simulate 2", 0, {"SERIAL", "1001", "1002", "Simulated"}},
    {"list", 1, {"names the transport \"nix\"; this build has simulated"}, {}, "ZEVRIN_TRANSPORTS=nix "},
    {"--simulate twins.json list", 0, {"5  "}, {"left out", "serial number 5"}},
    {"--simulate none.json list", 2, {"--simulate: \"none.json\" is neither a number of cameras"}},
    {"--simulate 1 list", 0, {"1001"}, {"ZEVRIN_LOG is \"foo\"; it must be off, error"}, "ZEVRIN_LOG=foo "},
    {"--simulate broken.json list", 1, {"broken.json: The description is not JSON: parse error at line 1"}},
    {"list", 1, {"ZEVRIN_SIMULATE cannot be followed", "1 to 64"}, {}, "ZEVRIN_SIMULATE=65 "},
    {"--simulate 1 --json list --watch --duration 0.01", 0, {"\"arrived\",\"serialNumber\":1001,"}},
    // A folder in use.
    {"--simulate 1 sync -o r", 1, {"\"r\" holds a recording already"}, {}, "mkdir r; touch r/index.jsonl; "},
    {"--simulate 1 grab -o r", 1, {"\"r\" holds a recording already"}, {}, "mkdir r; touch r/index.jsonl; "},
    // Choosing a camera.
    {"--simulate 1 info", 0, {"Serial number       1001\n", "Power               on\n"}},
    {"--simulate 2 info", 2, {"a serial number is needed", "1001", "1002"}},
    {"--simulate 2 info 4711", 3, {"serial number 4711", "1001", "1002"}},
    {"grab", 3, {"no camera was found"}},
    // Registers.
    {"--simulate 1 reg read 1548 -n 2 1001", 0, {"0x0000060C  ", "0x00000610  0x80000000\n"}},
    {"--simulate 1 reg read --whole 0xF0F00610", 0, {"0xF0F00610  0x80000000\n"}},
    {"--simulate 1 reg read --base 0xF00610", 0, {"0x00F00610  0x80000000\n"}},
    {"--simulate 1 --json reg write 0x604 0,0xE0000000 1001", 0, {"3758096384"}},
    {"plan --share 100 2x640x480:mono8@100", 0, {"2       1500 bytes  12186 ns", "516.694 Mbit/s"}},
    {"reg read 0x613", 2, {"\"0x613\" is not a multiple of 4"}},
    {"reg read 0x610h", 2, {"\"0x610h\" is not a number"}},
    {"reg read 0xFFFFFFF8 -n 3", 2, {"0xFFFFFFF8", "past the 32-bit address space"}},
    {"reg read 0 -n 0", 2, {"\"0\" is out of range; it must be 1 to 65536"}},
    {"reg write 0x610 1,,2", 2, {"VALUE", "\"\" is not a number"}},
    {"--simulate faulty.json reg read 0x610", 1, {"camera 1001", "610"}},
    // Grabbing.
    {"--simulate 1 grab -n 2", 0, {"SERIAL", "1001", "640 x 480"}},
    {"--simulate 1 grab --all 1001", 2, {"SERIAL", "--all"}},
    {"--simulate 1 grab -o file/images", 1, {"folder \"file/images\"", "Not a directory"}},
    {"--simulate 1 grab -o $(printf %0300d 1)", 1, {"1\" cannot be made: File name too long"}},
    {"--simulate silent.json grab --timeout 150", 4, {"no frame came within 150 ms", "0 of 10"}, {"1001"}},
    // Starting in step.
    {"--simulate 2 sync 1001 1001", 2, {"given twice"}},
    {"--simulate 2 sync --format gif", 2, {"gif", "png, raw, none", "`zevrin sync --help`"}},
    {"--simulate gige.json sync", 1, {"GigE Vision cameras share no bus clock"}},
    {"--simulate apart.json sync --retries 1",
     1,
     {"camera 1003 (USB3 Vision) is left out",
      "start 1 of at most 2 failed: Failed to synchronize cameras. Starting again.", "start 2 of at most 2"}},
    // Settings: what works, what cannot be, and what this camera lacks.
    {"--simulate 1 property list", 0, {"shutter", "0.005 s", "2e-05 to 0.0819 s", "read only"}},
    {"--simulate 1 property set gain raw:0x37", 0, {"5.5 dB", "Raw                 55\n"}},
    {"--simulate 1 property set gain 99", 2, {"is to be 99; it must be 0 to 24 dB"}},
    {"--simulate deaf.json property list", 1, {"(SHUTTER) of camera 1001 fails"}, {"brightness", "gain"}},
    {"--simulate deaf.json trigger show", 1, {"(TRIGGER_DELAY)"}, {"Delay               not available\n"}},
    {"property get nix", 2, {"\"nix\" is not known", "shutter"}},
    {"--simulate 1 property get white-balance", 1, {"camera 1001 has no white balance"}},
    {"--simulate 1 property set temperature 20", 1, {"can only be read"}},
    {"property set gain 1 2 3", 2, {"more arguments than the verb takes"}},
    {"--simulate 1 trigger set --on --source 7 --delay 0.005", 0, {"7 (software)", " 0.005 s\n"}},
    {"--simulate 1 trigger set", 2, {"nothing is to be set"}},
    {"--simulate 1 trigger set --mode 5", 1, {"no trigger mode 5; it has 0, 1, 14, 15"}},
    {"--simulate 1 trigger fire", 1, {"The trigger is off"}},
    {"--simulate 1 strobe set 1 --on --delay 1.5 --duration 3", 0, {"1.5 ms", "3 ms"}},
    {"--simulate 1 strobe set 1 --delay 100", 2, {"100 ms; it must be 0 to 40.95 ms"}},
    {"--simulate 1 lut set file", 2, {"line 1 of file: \"not\" is not a number"}},
    {"--simulate 1 lut set few.txt", 2, {"\"few.txt\" has 3 entries; it must have 1024"}},
    {"--simulate 1 lut set /dev/zero", 1, {"\"/dev/zero\" cannot be read: it is larger"}},
    {"--simulate 1 lut gamma 2 --bank 2", 1, {"Bank 2", "cannot be written"}},
    {"--simulate 1 memory restore 9", 2, {"0 (factory settings) to 3"}},
    {"--simulate 1 gpio set 5 out", 1, {"camera 1001: pin 5 stays in"}},
    {"--simulate 1 stats --reset --watch --stream -n 2 --interval 10", 0, {"IMAGES", "TEMPERATURE"}},
    {"--simulate silent.json --json time", 0, {"\"cycleSeconds\": 0,"}},
    {"--simulate faulty.json stats", 1, {"Error reading power register of the camera."}},
    {"--simulate gige.json events --event FrameStart -n 1", 0, {"0x9001  FrameStart  00000001\n"}},
    {"--simulate gige.json events --event nix", 1, {"\"nix\"; there are: ", ", ExposureEnd, "}},
    {"--simulate 1 events", 1, {"has no device events", "GigE Vision or USB3 Vision"}},
    {"--simulate 1 format region --left 160 --width 320", 0, {"Left edge           160\n"}},
    {"--simulate 1 format region --width 3", 2, {"must be 4 to 640 in steps of 4"}},
    {"--simulate big.json format standard 2 6 --rate 240", 1, {"; it has 1.875, 3.75,"}},
    {"--simulate 1 list >/dev/full", 1, {"standard output cannot be written"}},
};

INSTANTIATE_TEST_SUITE_P(Cases, ToolAnswers, testing::ValuesIn(kCases), [](const auto& row) {
    const std::string arguments = std::string(row.param.arguments).substr(0, 60);
    return std::to_string(row.index) + std::regex_replace(arguments, std::regex("\\W+"), "_");
});

TEST_F(Tool, WritesJson) {
    const struct {
        const char* arguments;
        const char* expected;  // among other things
    } cases[] = {
        {"list", R"({"cameras": [{"serialNumber": 1001}, {"serialNumber": 1002}]})"},
        {"info 1002", R"({"serialNumber": 1002, "model": "Simulated Colour", "colorFilter": "RGGB",
            "color": true, "power": true, "transmission": false, "width": 640, "colorCoding": "Raw8"})"},
        {"reg read 0x610 1001", R"({"serialNumber": 1001, "space": "command",
            "registers": [{"address": 1552, "value": 2147483648}]})"},
        {"grab --all -n 5 -o a/b", R"({"cameras": [{"serialNumber": 1001, "frames": 5, "dropped": 2,
            "corrupt": 0, "failure": null}, {"dropped": 0}]})"},
        {"property list 1001", R"({"properties": [{"name": "brightness", "max": 10}]})"},
        {"property set gain 5.5 1001", R"({"name": "gain", "value": 5.5, "raw": 55, "unit": "decibel"})"},
        {"trigger show 1001", R"({"trigger": false, "modes": [0, 1, 14, 15]})"},
        {"strobe show 1001", R"({"outputs": [{"output": 0, "on": false, "maxMs": 40.95}]})"},
        {"lut bank 1 1002",
         R"({"lut": false, "activeBank": 1, "channels": 3, "banks": [{"active": false}]})"},
        {"lut get 1001", R"({"bank": 0, "channel": 0, "entries": [0, 1, 2]})"},
        {"memory show 1001", R"({"current": 0, "highest": 3})"},
        {"gpio show 1001", R"({"pins": [{"pin": 0, "direction": "in"}]})"},
        {"embedded list 1001", R"({"items": [{"item": "timestamp", "available": true, "on": false}]})"},
        {"stats 1001", R"({"imagesDropped": 0, "power": true})"},
        {"format list 1001", R"({"modes": [{"format": 0, "mode": 5, "colorCodings": ["Mono8"]}]})"},
    };
    for (const auto& row : cases) {
        const SpawnResult result = Run(std::string("--simulate pair.json --json ") + row.arguments);
        EXPECT_EQ(0, result.exitCode) << result.messages;
        const Json document = Json::parse(result.output, nullptr, false);
        const Json expected = Json::parse(row.expected).flatten();
        for (const auto& entry : expected.items()) {
            EXPECT_EQ(entry.value(), document.value(Json::json_pointer(entry.key()), Json()))
                << row.arguments << ": " << entry.key() << " in " << document;
        }
    }
    EXPECT_EQ(10U, CountWholePngs("a/b"));
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path("a/b"))) {
        const std::string picture = ReadFile(entry.path());
        ExpectParts(picture, {"serialNumber", "frameId", "time", "exposureSeconds", "gainDb"});
        EXPECT_EQ(std::string::npos, picture.find("cycleCount")) << "nobody has stamped it: " << entry;
    }
}

TEST_F(Tool, EndsInGoodOrderWhenInterrupted) {
    const struct {
        const char* verb;
        Parts messages;
    } cases[] = {
        {"grab --all", {"camera 1001: stopped", "of 100000 frames"}},
        {"capture --all", {"stopped before the end"}},
        {"sync --retries 50", {"camera 1002: stopped"}},
    };
    for (const auto& row : cases) {
        std::filesystem::remove_all(m_folder.Path("r"));
        const std::string command = "exec '" + kZevrin + "' --simulate 2 " + row.verb + " -n 100000 -o r";
        Process run({"bash", "-c", command}, m_options);
        ASSERT_NO_FATAL_FAILURE(AwaitFileIn("r"));
        run.Signal(SIGINT);
        const SpawnResult result = run.Finish();
        EXPECT_EQ(1, result.exitCode) << command;
        ExpectParts(result.messages, row.messages);
        EXPECT_TRUE(row.verb != cases[0].verb || CountWholePngs("r") > 0);
    }
    const SpawnResult verified = Run("sync verify r");
    EXPECT_EQ(0, verified.exitCode) << verified.messages;
}

}  // namespace
}  // namespace Zevrin
