#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/Png.h"
#include "support/Spawn.h"
#include "support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Zevrin::SpawnOptions;
using Zevrin::SpawnResult;
using Zevrin::TemporaryFolder;

const std::string kZevrin = PROGRAM_FOLDER "/zevrin";

/// Other cameras of the machine stay out of sight.
SpawnOptions In(const std::string& folder) {
    SpawnOptions options;
    options.folder = folder;
    options.environment = {{"ZEVRIN_TRANSPORTS", "simulated"}};
    return options;
}

/// What `text` lacks of `parts`.
std::string Missing(const std::string& text, const std::vector<std::string>& parts) {
    for (const std::string& part : parts) {
        if (text.find(part) == std::string::npos) {
            return "\"" + part + "\" in:\n" + text;
        }
    }
    return "";
}

struct Case {
    const char* name;
    const char* arguments;
    int exitCode;
    std::vector<std::string> output;    ///< parts of standard output; none: it is empty
    std::vector<std::string> messages;  ///< parts of standard error; none: it is empty
};

void PrintTo(const Case& row, std::ostream* pStream) {
    *pStream << "zevrin " << row.arguments;
}

class ToolAnswers : public testing::TestWithParam<Case> {
  protected:
    void SetUp() override {
        for (const auto& file : {
                 std::make_pair("broken.json", R"({"cameras": [{"serial": 1001,]})"),
                 std::make_pair("wrong.json", R"({"cameras": [{"serial": "many"}]})"),
                 std::make_pair("silent.json", R"({"clock": "manual", "cameras": [{}]})"),
                 std::make_pair("faulty.json",
                                R"({"cameras": [{"faults": {"registers": {"addresses": [1552]}}}]})"),
                 std::make_pair(
                     "deaf.json",
                     R"({"cameras": [{"faults": {"registers": {"addresses": ["0x81C","0x834"]}}}]})"),
                 std::make_pair("big.json", R"({"cameras": [{"width": 1280, "height": 960}]})"),
                 std::make_pair("twins.json",
                                R"({"duplicateSerials": true, "buses": [{"cameras": [{"serial": 5}]},)"
                                R"( {"cameras": [{"serial": 5}]}]})"),
                 std::make_pair("gige.json", R"({"cameras": [{"interface": "gige"}]})"),
                 std::make_pair("few.txt", "1, 2 # three\n0x3"),
                 std::make_pair("apart.json",
                                R"({"cameras": [{}, {"faults": {"registers": {"writeLatencyUs": 2000}}},)"
                                R"( {"interface": "u3v"}]})"),
                 std::make_pair("file", "not a folder"),
             }) {
            std::ofstream(m_folder.Path(file.first)) << file.second;
        }
    }

    TemporaryFolder m_folder;
};

TEST_P(ToolAnswers, WithOutputMessagesAndExitCode) {
    const Case& row = GetParam();
    const SpawnResult result = Zevrin::SpawnShell("'" + kZevrin + "' " + row.arguments, In(m_folder.Path()));
    EXPECT_EQ(row.exitCode, result.exitCode) << result.messages;
    EXPECT_EQ("", Missing(result.output, row.output));
    EXPECT_EQ("", Missing(result.messages, row.messages));
    EXPECT_EQ(row.output.empty(), result.output.empty()) << result.output;
    EXPECT_EQ(row.messages.empty(), result.messages.empty()) << result.messages;
}

const Case kCases[] = {
    // Usage.
    {"Version", "--version", 0, {"zevrin " PROJECT_VERSION "\n"}, {}},
    {"Help", "--help", 0, {"Usage: zevrin [global options] <verb> [arguments]", "Examples:"}, {}},
    {"NoVerb", "", 2, {}, {"a verb is needed; there are: list info reg grab"}},
    {"UnknownVerb", "nix", 2, {}, {"there is no verb \"nix\"; there are: list info reg grab"}},
    {"UnknownRegVerb", "reg nix", 2, {}, {"there is no verb \"nix\"; there are: read write"}},
    {"UnknownOption", "list --nix", 2, {}, {"--nix", "`zevrin list --help`"}},
    {"UnknownOptionWithValue", "strobe set 1 --nix 5 1001", 2, {}, {"there is no option \"--nix\""}},
    {"UnknownOptionForVerb", "property --nix=3", 2, {}, {"no option \"--nix\"", "`zevrin property --help`"}},
    {"ValueOfFlag", "trigger set --on=5", 2, {}, {"--on takes no value"}},
    {"NoValueOfOption", "--simulate", 2, {}, {"--simulate: 1 required"}},
    {"UnknownShell", "--completion fish", 2, {}, {"\"fish\""}},
    // Simulations.
    {"NoCameras", "list", 0, {}, {"no camera was found"}},
    {"List", "--simulate 2 list", 0, {"SERIAL", "1001", "1002", "Simulated"}, {}},
    {"GlobalOptionsBehindTheVerb", "list --simulate 2", 0, {"1002"}, {}},
    {"UnknownTransport",
     "--simulate 1 list; ZEVRIN_TRANSPORTS=simulated,nix '" PROGRAM_FOLDER "/zevrin' --simulate 1 list",
     1,
     {"1001"},
     {"ZEVRIN_TRANSPORTS names the transport \"nix\"; this build has simulated"}},
    {"TakenSerialNumber", "--simulate twins.json list", 0, {"5  "}, {"left out", "serial number 5"}},
    {"NoneSimulated", "--simulate 0 list", 2, {}, {"--simulate", "1 to 64"}},
    {"TooManySimulated", "--simulate 65 list", 2, {}, {"--simulate", "65", "1 to 64"}},
    {"NothingSimulated", "--simulate '' list", 2, {}, {"--simulate: \"\" is neither a number of cameras"}},
    {"MissingDescription", "--simulate none.json list", 1, {}, {"--simulate", "none.json", "No such file"}},
    {"BrokenDescription",
     "--simulate broken.json list",
     1,
     {},
     {"--simulate: broken.json: The description is not JSON: parse error at line 1"}},
    {"WrongDescription", "--simulate wrong.json list", 1, {}, {"--simulate: wrong.json: ", "serial", "many"}},
    {"CommandLineBeforeEnvironment", "list --simulate 1", 0, {"1001"}, {}},
    {"Watch", "--simulate 2 list --watch --duration 1", 0, {"arrived  1001  ", "arrived  1002  "}, {}},
    {"WatchJson",
     "--simulate 1 --json list --watch --duration 1",
     0,
     {"\"arrived\",\"serialNumber\":1001,"},
     {}},
    {"DurationWithoutWatch", "list --duration 5", 2, {}, {"--watch"}},
    // Choosing a camera.
    {"TheOnlyCamera", "--simulate 1 info", 0, {"Serial number       1001\n", "Power               on\n"}, {}},
    {"OneOfTwo", "--simulate 2 info 1002", 0, {"1002"}, {}},
    {"WhichOfTwo", "--simulate 2 info", 2, {}, {"a serial number is needed", "1001", "1002"}},
    {"UnknownCamera", "--simulate 2 info 4711", 3, {}, {"serial number 4711", "1001", "1002"}},
    {"NoCameraAtAll", "grab", 3, {}, {"no camera was found"}},
    {"NoSerialNumber", "info camera1", 2, {}, {"SERIAL", "\"camera1\" is not a number"}},
    {"SerialNumberTooLarge", "info 4294967296", 2, {}, {"\"4294967296\"", "4294967295"}},
    {"TwoForOne", "--simulate 2 info 1001 1002", 2, {}, {"SERIAL"}},
    // Registers.
    {"Read", "--simulate 1 reg read 0x610", 0, {"0x00000610  0x80000000\n"}, {}},
    {"ReadDecimal", "--simulate 1 reg read 1552 1001", 0, {"0x00000610  0x80000000\n"}, {}},
    {"ReadBlock", "--simulate 1 reg read 0x60c -n 2", 0, {"0x0000060C  ", "0x00000610  0x80000000\n"}, {}},
    {"ReadBase", "--simulate 1 reg read --base 0xF00610", 0, {"0x00F00610  0x80000000\n"}, {}},
    {"ReadWhole", "--simulate 1 reg read --whole 0xF0F00610", 0, {"0xF0F00610  0x80000000\n"}, {}},
    {"Write", "--simulate 1 reg write 0x610 0", 0, {}, {}},
    {"WriteTwo", "--simulate 1 --json reg write 0x604 0,0xE0000000 1001", 0, {"3758096384"}, {}},
    {"Plan",
     "plan --share 100 2x640x480:mono8@100",
     0,
     {"2       1500 bytes  12186 ns", "516.694 Mbit/s"},
     {}},
    {"PlanThatDoesNotFit",
     "--json plan 4x1280x1024:Raw8@30",
     1,
     {},
     {"1322.13 Mbit/s are wanted and 950.00 can"}},
    {"PlanWithoutHeight", "plan 1280:Raw8@30", 2, {}, {"CAMERA", "\"1280:Raw8@30\" is no camera"}},
    {"NotAligned", "reg read 0x613", 2, {}, {"\"0x613\" is not a multiple of 4"}},
    {"NoAddress", "reg read", 2, {}, {"ADDRESS"}},
    {"AddressNoNumber", "reg read power", 2, {}, {"\"power\" is not a number"}},
    {"AddressWithRest", "reg read 0x610h", 2, {}, {"\"0x610h\" is not a number"}},
    {"AddressNegative", "reg read -- -4", 2, {}, {"\"-4\" is not a number"}},
    {"AddressTooLarge", "reg read 0x100000000", 2, {}, {"\"0x100000000\""}},
    {"PastTheEnd", "reg read 0xFFFFFFF8 -n 3", 2, {}, {"0xFFFFFFF8", "past the 32-bit address space"}},
    {"NoQuadlets", "reg read 0 -n 0", 2, {}, {"\"0\" is out of range; it must be 1 to 65536"}},
    {"TwoSpaces", "reg read --base --memory 0", 2, {}, {"--base", "--memory"}},
    {"NothingToWrite", "reg write 0x610", 2, {}, {"VALUE"}},
    {"ValueListWithAHole", "reg write 0x610 1,,2", 2, {}, {"VALUE", "\"\" is not a number"}},
    {"ValueTooLarge", "reg write 0x610 0x123456789", 2, {}, {"VALUE", "\"0x123456789\""}},
    {"FailingRegister", "--simulate faulty.json reg read 0x610", 1, {}, {"camera 1001", "610"}},
    // Grabbing.
    {"GrabNoFiles", "--simulate 1 grab -n 2", 0, {"SERIAL", "1001", "640 x 480"}, {}},
    {"GrabTwice", "--simulate 1 grab 1001 1001", 2, {}, {"given twice"}},
    {"GrabAllOrOne", "--simulate 1 grab --all 1001", 2, {}, {"SERIAL", "--all"}},
    {"GrabNone", "grab -n 0", 2, {}, {"\"0\" is out of range; it must be 1 to 1000000"}},
    {"GrabIntoFile", "--simulate 1 grab -o file", 1, {}, {"folder \"file\""}},
    {"GrabBelowFile",
     "--simulate 1 grab -o file/images",
     1,
     {},
     {"folder \"file/images\"", "Not a directory"}},
    {"GrabIntoLongName",
     "--simulate 1 grab -o $(printf %0300d 1)",
     1,
     {},
     {"1\" cannot be made: File name too long"}},
    {"GrabTimeout",
     "--simulate silent.json grab --timeout 150",
     4,
     {"1001"},
     {"camera 1001", "no frame came within 150 ms", "0 of 10"}},
    // Starting in step.
    {"SyncTwice", "--simulate 2 sync 1001 1001", 2, {}, {"given twice"}},
    {"SyncFormat",
     "--simulate 2 sync --format gif",
     2,
     {},
     {"gif", "png, raw, none", "`zevrin sync --help`"}},
    {"SyncGige",
     "--simulate gige.json sync",
     1,
     {},
     {"GigE Vision cameras share no bus clock", "with GigE Cameras is not supported"}},
    {"SyncApart",
     "--simulate apart.json sync --retries 1",
     1,
     {},
     {"camera 1003 (USB3 Vision) is left out",
      "start 1 of at most 2 failed: Failed to synchronize cameras. Starting again.", "start 2 of at most 2"}},
    {"VerifyNothing", "sync verify none", 1, {}, {"no file \"none/index.jsonl\""}},
    {"VerifyWithoutFolder", "sync verify", 2, {}, {"DIR", "`zevrin sync verify --help`"}},
    // Settings: what works, what cannot be, and what this camera lacks.
    {"PropertyList",
     "--simulate 1 property list",
     0,
     {"shutter", "0.005 s", "2e-05 to 0.0819 s", "read only"},
     {}},
    {"PropertySet", "--simulate 1 property set gain 5.5", 0, {"5.5 dB", "Raw                 55\n"}, {}},
    {"PropertySetRaw", "--simulate 1 property set gain raw:0x37", 0, {"5.5 dB"}, {}},
    {"PropertyOutOfRange",
     "--simulate 1 property set gain 99",
     2,
     {},
     {"is to be 99; it must be 0 to 24 dB"}},
    {"PropertyBeyondReason", "property set gain 1e99", 2, {}, {"VALUE: \"1e99\" is out of range"}},
    {"PropertiesButOne",
     "--simulate deaf.json property list",
     1,
     {"brightness", "gain"},
     {"camera 1001", "(SHUTTER) of camera 1001 fails"}},
    {"TriggerButItsDelay",
     "--simulate deaf.json trigger show",
     1,
     {"Delay               not available\n", "Modes               0, 1, 14, 15\n"},
     {"camera 1001", "(TRIGGER_DELAY) of camera 1001 fails"}},
    {"PropertyUnknown", "property get nix", 2, {}, {"\"nix\" is not known", "shutter"}},
    {"PropertyAbsent",
     "--simulate 1 property get white-balance",
     1,
     {},
     {"camera 1001 has no white balance"}},
    {"PropertyReadOnly", "--simulate 1 property set temperature 20", 1, {}, {"can only be read"}},
    {"PropertyTooMuch", "property set gain 1 2 3", 2, {}, {"more arguments than the verb takes"}},
    {"TriggerSet",
     "--simulate 1 trigger set --on --source 7 --mode 15 --parameter 5 --delay 0.005",
     0,
     {"7 (software)", "Delay               0.005 s\n"},
     {}},
    {"TriggerNothing", "--simulate 1 trigger set", 2, {}, {"nothing is to be set"}},
    {"TriggerAbsentMode",
     "--simulate 1 trigger set --mode 5",
     1,
     {},
     {"no trigger mode 5; it has 0, 1, 14, 15"}},
    {"TriggerFireOff", "--simulate 1 trigger fire", 1, {}, {"The trigger is off"}},
    {"StrobeSet", "--simulate 1 strobe set 1 --on --delay 1.5 --duration 3", 0, {"1.5 ms", "3 ms"}, {}},
    {"StrobeTooLong", "--simulate 1 strobe set 1 --delay 100", 2, {}, {"100 ms; it must be 0 to 40.95 ms"}},
    {"StrobeWrongPolarity",
     "strobe set 1 --polarity up",
     2,
     {},
     {"\"up\" is not known; there are: low, high"}},
    {"LutSetFromWords", "--simulate 1 lut set file", 2, {}, {"line 1 of file: \"not\" is not a number"}},
    {"LutSetFromNothing",
     "--simulate 1 lut set none.txt",
     1,
     {},
     {"\"none.txt\" cannot be read: No such file"}},
    {"LutSetTooFew", "--simulate 1 lut set few.txt", 2, {}, {"\"few.txt\" has 3 entries; it must have 1024"}},
    {"LutSetEndless",
     "--simulate 1 lut set /dev/zero",
     1,
     {},
     {"\"/dev/zero\" cannot be read: it is larger"}},
    {"LutSetFromFolder", "--simulate 1 lut set .", 1, {}, {"\".\" cannot be read: Is a directory"}},
    {"LutGamma", "--simulate 1 lut gamma 2 --bank 1", 0, {"Entries             1024\n"}, {}},
    {"LutGammaOfNothing", "--simulate 1 lut gamma 0", 2, {}, {"must be more than 0"}},
    {"LutLockedBank", "--simulate 1 lut gamma 2 --bank 2", 1, {}, {"Bank 2", "cannot be written"}},
    {"MemorySave", "--simulate 1 memory save 2", 0, {"Highest channel     3\n"}, {}},
    {"MemoryTooHigh", "--simulate 1 memory restore 9", 2, {}, {"0 (factory settings) to 3"}},
    {"GpioSet", "--simulate 1 gpio set 3 out", 0, {"Direction           out\n"}, {}},
    {"GpioRefused", "--simulate 1 gpio set 5 out", 1, {}, {"camera 1001: pin 5 stays in"}},
    {"GpioNoPin", "gpio set 33 out", 2, {}, {"\"33\" is out of range; it must be 0 to 31"}},
    {"EmbeddedOn", "--simulate 1 embedded on timestamp", 0, {"timestamp  yes        on\n"}, {}},
    {"EmbeddedUnknown", "embedded on nix", 2, {}, {"\"nix\" is not known; there are: timestamp, 1"}},
    {"StatsWatch", "--simulate 1 stats --reset --watch -n 2 --interval 10", 0, {"TEMPERATURE"}, {}},
    {"StatsFail", "--simulate faulty.json stats", 1, {}, {"Error reading power register of the camera."}},
    {"StatsCount", "stats --watch -n 0", 2, {}, {"1 to 1000000"}},
    {"TimeOfNoCamera", "time", 3, {}, {"no camera was found"}},
    {"Events",
     "--simulate gige.json events --event FrameStart -n 1",
     0,
     {"0x9001  FrameStart  00000001\n"},
     {}},
    {"EventUnknown", "--simulate gige.json events --event nix", 1, {}, {"does not report an event \"nix\""}},
    {"EventsElsewhere", "--simulate 1 events", 1, {}, {"has no device events", "GigE Vision or USB3 Vision"}},
    {"FormatRegion",
     "--simulate 1 format region --left 160 --width 320 --height 240",
     0,
     {"Left edge           160\n", "Image width         320\n"},
     {}},
    {"FormatOddRegion", "--simulate 1 format region --width 3", 2, {}, {"must be 4 to 640 in steps of 4"}},
    {"FormatAbsentRate",
     "--simulate big.json format standard 2 6 --rate 240",
     1,
     {},
     {"no frame rate 240", "; it has 1.875, 3.75, 7.5, 15, 30, 60\n"}},
    {"FormatAbsent", "--simulate 1 format standard 1 3", 1, {}, {"no mode 3 of format 1"}},
    {"FullOutput", "--simulate 1 list >/dev/full", 1, {}, {"standard output cannot be written"}},
};

INSTANTIATE_TEST_SUITE_P(Cases, ToolAnswers, testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Tool, WritesJson) {
    const TemporaryFolder folder;
    const struct {
        const char* arguments;
        Json expected;
    } cases[] = {
        {"list", Json::parse(R"({"cameras": [{"serialNumber": 1001}, {"serialNumber": 1002}]})")},
        {"info 1002",
         Json::parse(R"({"serialNumber": 1002, "model": "Simulated Colour", "colorFilter": "RGGB",
             "power": "on", "transmission": "off", "width": 640, "height": 480, "colorCoding": "Raw8"})")},
        {"reg read 0x610 1001", Json::parse(R"({"serialNumber": 1001, "space": "command",
             "registers": [{"address": 1552, "value": 2147483648}]})")},
        {"grab -n 2 1002 1001",
         Json::parse(R"({"cameras": [{"serialNumber": 1002, "frames": 2, "failure": null},
             {"serialNumber": 1001, "frames": 2, "corrupt": 0, "driverDropped": 0}]})")},
        {"property list 1001", Json::parse(R"({"properties": [{"name": "brightness", "max": 10}]})")},
        {"property set gain 5.5 1001",
         Json::parse(R"({"name": "gain", "value": 5.5, "raw": 55, "unit": "decibel"})")},
        {"trigger show 1001", Json::parse(R"({"trigger": "off", "modes": [0, 1, 14, 15]})")},
        {"strobe show 1001", Json::parse(R"({"outputs": [{"output": 0, "maxMs": 40.95}]})")},
        {"lut bank 1 1002", Json::parse(R"({"activeBank": 1, "channels": 3, "banks": [{"active": false}]})")},
        {"lut get 1001", Json::parse(R"({"bank": 0, "channel": 0, "entries": [0, 1, 2]})")},
        {"memory show 1001", Json::parse(R"({"current": 0, "highest": 3})")},
        {"gpio show 1001", Json::parse(R"({"pins": [{"pin": 0, "direction": "in"}]})")},
        {"embedded list 1001", Json::parse(R"({"items": [{"item": "timestamp", "available": true}]})")},
        {"stats 1001", Json::parse(R"({"imagesDropped": 0, "power": "on", "registerReadFailures": 0})")},
        {"time 1001", Json::parse(R"({"cycleSeconds": 0})")},
        {"format list 1001",
         Json::parse(R"({"modes": [{"format": 0, "mode": 5, "colorCodings": ["Mono8"]}]})")},
    };
    for (const auto& row : cases) {
        const SpawnResult result =
            Zevrin::SpawnShell("'" + kZevrin + "' --simulate 2 --json " + row.arguments, In(folder.Path()));
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

TEST(Tool, GrabsNumberedFilesAndCountsWhatWasDropped) {
    const TemporaryFolder folder;
    std::ofstream(folder.Path("lossy.json"))
        << R"({"cameras": [{"faults": {"drop": {"frames": [3, 4]}}}, {"bayer": "RGGB"}]})";
    const SpawnResult result = Zevrin::Spawn(
        {kZevrin, "--simulate", "lossy.json", "--json", "grab", "--all", "-n", "5", "-o", "a/b"},
        In(folder.Path()));
    ASSERT_EQ(0, result.exitCode) << result.messages;
    const Json cameras = Json::parse(result.output).at("cameras");
    ASSERT_EQ(2U, cameras.size());
    EXPECT_EQ(2, cameras[0].at("dropped"));
    EXPECT_EQ(0, cameras[1].at("dropped"));
    EXPECT_LT(0.0, cameras[0].at("framesPerSecond").get<double>());
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator(folder.Path("a/b"))) {
        EXPECT_TRUE(Zevrin::IsWholePng(entry.path())) << entry.path();
        ++files;
    }
    EXPECT_EQ(10U, files);
    for (const Json& camera : cameras) {
        for (const Json& file : camera.at("files")) {
            EXPECT_TRUE(fs::exists(folder.Path(file))) << file;
        }
    }
}

TEST(Tool, EndsInGoodOrderWhenInterrupted) {
    const TemporaryFolder folder;
    Zevrin::Process grab({kZevrin, "--simulate", "1", "grab", "-n", "100000", "-o", "images"},
                         In(folder.Path()));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!fs::exists(folder.Path("images")) || fs::is_empty(folder.Path("images"))) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    grab.Signal(SIGINT);
    const SpawnResult result = grab.Finish();
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("", Missing(result.output, {"SERIAL", "1001"}));
    EXPECT_EQ("", Missing(result.messages, {"camera 1001: stopped", "of 100000 frames"}));
    for (const auto& entry : fs::directory_iterator(folder.Path("images"))) {
        EXPECT_TRUE(Zevrin::IsWholePng(entry.path())) << entry.path();
    }
}

}  // namespace
