// The tool and the demonstration with a GigE Vision camera: a process of its own that serves one on
// 127.0.0.1.

#include <signal.h>

#include "ToolFolder.h"

namespace Zevrin {
namespace {

const std::string kFakeCamera = PROGRAM_FOLDER "/fake-gige-camera";
const std::string kDemo = SOURCE_FOLDER "/tools/demo/demo";
constexpr auto kSerial = "20001";

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

}  // namespace
}  // namespace Zevrin
