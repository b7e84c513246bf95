// The tool and the demonstration with a GigE Vision camera: a process of its own that serves one on
// 127.0.0.1.

#include <signal.h>

#include <iterator>
#include <sstream>

#include "ToolFolder.h"

namespace Zevrin {
namespace {

const std::string kFakeCamera = PROGRAM_FOLDER "/fake-gige-camera";
const std::string kDemo = SOURCE_FOLDER "/tools/demo/demo";
constexpr auto kSerial = "20001";

/// Both sides of a feature: the tool's, and that of a program that knows nothing of this library. Words are
/// NAME=VALUE, which sets or selects, and NAME?VALUE, which is looked at.
struct Mapping {
    const char* givenToDevice;
    const char* seenByTool;
    const char* givenToTool;
    const char* seenAtDevice;
};

const Mapping kMappings[] = {
    {"ExposureTime=2000", "properties/shutter/absolute=0.002", "properties/shutter/absolute=0.05",
     "ExposureTime?50000"},
    {"GainSelector=All Gain=3.5", "properties/gain/absolute=3.5", "properties/gain/absolute=7.5",
     "GainSelector=All Gain?7.5"},
    {"BlackLevel=16", "properties/brightness/absolute=25", "properties/brightness/absolute=50",
     "BlackLevel?32"},
    {"Saturation=1", "properties/saturation/absolute=50", "properties/saturation/absolute=75",
     "Saturation?1.5"},
    {"Gamma=0.5", "properties/gamma/absolute=0.5", "properties/gamma/absolute=2", "Gamma?2"},
    {"AcquisitionFrameRate=30", "properties/frame-rate/absolute=30", "properties/frame-rate/absolute=12.5",
     "AcquisitionFrameRate?12.5"},
    {"Sharpness=3", "properties/sharpness/raw=3", "properties/sharpness/raw=6", "Sharpness?6"},
    {"BalanceRatioSelector=Red BalanceRatio=4 BalanceRatioSelector=Blue BalanceRatio=1",
     "properties/white-balance/raw=4095 properties/white-balance/rawSecond=0",
     "properties/white-balance/raw=0 properties/white-balance/rawSecond=4095",
     "BalanceRatioSelector=Red BalanceRatio?1 BalanceRatioSelector=Blue BalanceRatio?4"},
    {"TriggerDelay=1500", "properties/trigger-delay/absolute=0.0015",
     "properties/trigger-delay/absolute=0.002", "TriggerDelay?2000"},
    {"ExposureAuto=Continuous", "properties/shutter/auto=true", "properties/shutter/auto=false",
     "ExposureAuto?Once"},  // by a verb
    {"GainAuto=Continuous", "properties/gain/auto=true", "properties/gain/auto=false", "GainAuto?Off"},
    {"BalanceWhiteAuto=Off", "properties/white-balance/auto=false", "properties/white-balance/auto=true",
     "BalanceWhiteAuto?Continuous"},
    {"GammaEnable=true", "properties/gamma/on=true", "properties/gamma/on=false", "GammaEnable?false"},
    {"AcquisitionFrameRateEnable=false", "properties/frame-rate/on=false", "properties/frame-rate/on=true",
     "AcquisitionFrameRateEnable?true"},
    {"TriggerSelector=FrameStart TriggerMode=On TriggerSource=Line1 TriggerActivation=FallingEdge "
     "ExposureMode=TriggerWidth",
     "trigger/on=true trigger/source=1 trigger/mode=1 trigger/polarity=low",
     "trigger/on=true trigger/source=7 trigger/mode=0 trigger/polarity=high",
     "TriggerSelector=FrameStart TriggerMode?On TriggerSource?Software TriggerActivation?RisingEdge "
     "ExposureMode?Timed R[0x406c]?0x00000001"},
    {"LineSelector=Line1 LineMode=Output LineSelector=Line2 LineMode=Input", "pins/outputs=[1]",
     "pins/outputs=[0,2]",
     "LineSelector=Line1 LineMode?Input LineSelector=Line2 LineMode?Output LineSelector=Line0 "
     "LineMode?Output"},
    {"LineSelector=Line1 LineSource=ExposureActive LineInverter=true",
     "strobes/1/on=true strobes/1/polarity=low", "strobes/1/on=false strobes/1/polarity=high",
     "LineSelector=Line1 LineSource?Off LineInverter?false"},
    {"LineSelector=Line0 LineSource=UserOutput0", "strobes/0/on=false strobes/0/polarity=high",
     "strobes/0/on=true strobes/0/polarity=low",
     "LineSelector=Line0 LineSource?ExposureActive LineInverter?true"},
    {"UserSetSelector=UserSet1", "", "",
     "UserSetSelector?UserSet1 R[0x40a0]?0x00000001 R[0x40a4]?0x00000001"},
    {"LUTSelector=Red LUTEnable=true LUTSelector=Green LUTEnable=true LUTIndex=3 LUTValue=44",
     "lut/on=true lut/banks/0/1/3=44", "lut/on=false lut/banks/0/1/3=201",
     "LUTSelector=Red LUTEnable?false LUTSelector=Green LUTEnable?false LUTIndex=3 LUTValue?201"},
    {"Width=256 Height=128 OffsetX=16 OffsetY=4 PixelFormat=Mono12",
     "image/mode=0 image/left=16 image/top=4 image/width=256 image/height=128 image/coding=Mono16",
     "image/mode=1 image/left=8 image/top=2 image/width=1008 image/height=400 image/coding=Raw16",
     "BinningHorizontal?2 BinningVertical?2 OffsetX?8 OffsetY?2 Width?1008 Height?400 PixelFormat?BayerRG12"},
};

/// All words of a column.
Parts Split(const char* Mapping::*column) {
    Parts all;
    for (const Mapping& mapping : kMappings) {
        std::istringstream words(mapping.*column);
        all.insert(all.end(), std::istream_iterator<std::string>(words), {});
    }
    return all;
}

/// Sets what the words say, and expects what they look at.
void TellArvTool(const Parts& words) {
    Parts command = {"arv-tool-0.8", "-a", "127.0.0.1", "control"};
    for (const std::string& word : words) {
        command.push_back(word.substr(0, word.find('?')));
    }
    const SpawnResult tool = Spawn(command);
    ASSERT_EQ(0, tool.exitCode) << tool.messages << ": is the package aravis-tools-cli missing?";
    std::istringstream lines(tool.output);
    for (const std::string& word : words) {
        std::string line;
        std::getline(lines, line);
        const std::size_t value = word.find_first_of("=?") + 1;
        EXPECT_NE(std::string::npos, (line + " ").find(" = " + word.substr(value) + " "))
            << word << ": " << line;
    }
}

class GigeTool : public ToolFolder {
  protected:
    GigeTool() { m_options.environment.clear(); }

    /// Whether a camera can be served, which it cannot while another one is.
    bool CanServe() {
        Process camera({kFakeCamera}, m_options);
        return camera.WaitForOutput("ready");
    }
};

TEST_F(GigeTool, DemoShowsFiveCamerasAndStopsTheOneThatItStarted) {
    const SpawnResult demo = Spawn({kDemo, BUILD_FOLDER, "images"}, m_options);
    EXPECT_EQ(0, demo.exitCode) << demo.output << demo.messages;
    ExpectParts(demo.output, {"1001", "1004", kSerial, "127.0.0.1", "\nin step", "400 images"});
    EXPECT_EQ(1U, CountWholePngs("images/gige"));
    EXPECT_TRUE(IsWholePng(m_folder.Path("images/contact-sheet.png")));
    EXPECT_TRUE(CanServe()) << "the demonstration's camera still runs";
}

TEST_F(GigeTool, InterruptedDemoStopsItsCameraToo) {
    Process demo({kDemo, BUILD_FOLDER, "images"}, m_options);
    ASSERT_TRUE(demo.WaitForOutput("Starting")) << demo.Finish().messages;
    demo.Signal(SIGINT);
    EXPECT_NE(0, demo.Finish().exitCode);
    EXPECT_TRUE(CanServe()) << "the demonstration's camera still runs";
}

TEST_F(GigeTool, DemoSaysThatThePortIsTaken) {
    Process other({kFakeCamera}, m_options);
    ASSERT_TRUE(other.WaitForOutput("ready"));
    const SpawnResult demo = Spawn({kDemo, BUILD_FOLDER, "images"}, m_options);
    EXPECT_EQ(1, demo.exitCode);
    ExpectParts(demo.messages, {"127.0.0.1"});
    EXPECT_FALSE(std::filesystem::exists(m_folder.Path("images")));
}

TEST_F(GigeTool, KeepsWholeFilesWhenTheCameraVanishes) {
    Process camera({kFakeCamera, "--frame-rate", "100"}, m_options);
    ASSERT_TRUE(camera.WaitForOutput("ready")) << camera.Finish().messages;
    Process grab({kZevrin, "grab", "-n", "100000", "-o", "images", "--timeout", "60000", kSerial}, m_options);
    ASSERT_NO_FATAL_FAILURE(AwaitFileIn("images"));
    camera.Signal(SIGKILL);
    const SpawnResult result = grab.Finish();
    EXPECT_EQ(1, result.exitCode);
    ExpectParts(result.messages, {"camera 20001: the camera went away"});
    EXPECT_LE(1U, CountWholePngs("images"));
}

TEST_F(GigeTool, NamesWhatTheCameraLacks) {
    Process camera({kFakeCamera}, m_options);
    ASSERT_TRUE(camera.WaitForOutput("ready")) << camera.Finish().messages;
    const std::pair<const char*, const char*> cases[] = {
        {"events", "has no device events: it lacks EventSelector"},
        {"gpio show", "camera 20001 has no pins\n"},
        {"gpio set 0 out", "camera 20001 has no pins\n"},
        {"lut show", "camera 20001 has no look-up table\n"},
        {"strobe show", "camera 20001 has no strobe outputs\n"},
        {"--json memory show", "camera 20001 has no memory channels\n"}};
    for (const auto& row : cases) {
        const SpawnResult result = Run(row.first + std::string(" ") + kSerial);
        EXPECT_EQ(1, result.exitCode) << row.first;
        ExpectParts(result.messages, {row.second});
    }
}

TEST_F(GigeTool, ReadsDeviceMemory) {
    Process camera({kFakeCamera}, m_options);
    ASSERT_TRUE(camera.WaitForOutput("ready")) << camera.Finish().messages;
    // The serial number, as text, in the GigE Vision bootstrap registers.
    // Nothing is beyond the memory, which does not end the connection.
    for (const std::string address : {"0xD8", "0xFFFFFF00", "0xD8"}) {
        const SpawnResult result = Run("reg read --memory " + address + " " + kSerial);
        EXPECT_EQ(address == "0xD8" ? 0 : 4, result.exitCode) << result.messages;
        EXPECT_EQ(address == "0xD8" ? "0x000000D8  0x32303030\n" : "", result.output);
    }
}

TEST_F(GigeTool, EveryFeatureOfTheRegisterViewIsSeenFromBothSides) {
    Process camera({kFakeCamera, "--genicam", kSource + "/tests/transports/genicam/descriptions/lab.xml"},
                   m_options);
    ASSERT_TRUE(camera.WaitForOutput("ready")) << camera.Finish().messages;
    TellArvTool(Split(&Mapping::givenToDevice));
    Json config = Json::parse(Run("config save").output);
    const auto forEach = [&](const char* Mapping::*column, const auto& action) {
        for (const std::string& word : Split(column)) {
            const std::size_t end = word.find('=');
            const std::string text = word.substr(end + 1);
            const Json value = Json::parse(text, nullptr, false);
            action(word, config.at(Json::json_pointer("/" + word.substr(0, end))),
                   value.is_discarded() ? Json(text) : value);
        }
    };
    forEach(&Mapping::seenByTool, [](const std::string& word, const Json& seen, const Json& value) {
        EXPECT_EQ(value, seen) << word;
    });
    forEach(&Mapping::givenToTool,
            [](const std::string& /*word*/, Json& given, const Json& value) { given = value; });
    Write("given.json", config.dump());
    for (const std::string arguments :
         {"config load given.json", "trigger fire", "property set shutter one-push", "memory restore 2",
          "memory save 1"}) {
        const SpawnResult result = Run(arguments);
        EXPECT_EQ(0, result.exitCode) << arguments << ": " << result.messages;
    }
    TellArvTool(Split(&Mapping::seenAtDevice));
}

}  // namespace
}  // namespace Zevrin
