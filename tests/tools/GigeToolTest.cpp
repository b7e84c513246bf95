// The tool and the demonstration with a GigE Vision camera: a process of its own that serves one on
// 127.0.0.1.

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/Png.h"
#include "support/Spawn.h"
#include "support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using Zevrin::Process;
using Zevrin::SpawnOptions;
using Zevrin::SpawnResult;
using Zevrin::TemporaryFolder;

const std::string kZevrin = PROGRAM_FOLDER "/zevrin";
const std::string kFakeCamera = PROGRAM_FOLDER "/fake-gige-camera";
const std::string kDemo = SOURCE_FOLDER "/tools/demo/demo";
constexpr auto kSerial = "20001";

std::size_t CountWholePngs(const std::string& folder) {
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        EXPECT_TRUE(Zevrin::IsWholePng(entry.path())) << entry.path();
        ++count;
    }
    return count;
}

class GigeTool : public testing::Test {
  protected:
    void SetUp() override { m_options.folder = m_folder.Path(); }

    /// Whether a camera can be served, which it cannot while another one is.
    bool CanServe() {
        Process camera({kFakeCamera}, m_options);
        return camera.WaitForOutput("ready");
    }

    TemporaryFolder m_folder;
    SpawnOptions m_options;
};

TEST_F(GigeTool, DemoShowsFiveCamerasAndStopsTheOneThatItStarted) {
    const SpawnResult demo = Zevrin::Spawn({kDemo, BUILD_FOLDER, "images"}, m_options);
    EXPECT_EQ(0, demo.exitCode) << demo.output << demo.messages;
    for (const char* part : {"1001", "1004", kSerial, "127.0.0.1", "\nin step", "400 images"}) {
        EXPECT_NE(std::string::npos, demo.output.find(part)) << part << " in:\n" << demo.output;
    }
    EXPECT_EQ(1U, CountWholePngs(m_folder.Path("images/gige")));
    EXPECT_TRUE(Zevrin::IsWholePng(m_folder.Path("images/contact-sheet.png")));
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
    const SpawnResult demo = Zevrin::Spawn({kDemo, BUILD_FOLDER, "images"}, m_options);
    EXPECT_EQ(1, demo.exitCode);
    EXPECT_NE(std::string::npos, demo.messages.find("127.0.0.1")) << demo.messages;
    EXPECT_FALSE(fs::exists(m_folder.Path("images")));
}

TEST_F(GigeTool, KeepsWholeFilesWhenTheCameraVanishes) {
    Process camera({kFakeCamera, "--frame-rate", "100"}, m_options);
    ASSERT_TRUE(camera.WaitForOutput("ready")) << camera.Finish().messages;
    Process grab({kZevrin, "grab", "-n", "100000", "-o", "images", "--timeout", "60000", kSerial}, m_options);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!fs::exists(m_folder.Path("images")) || fs::is_empty(m_folder.Path("images"))) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    camera.Signal(SIGKILL);
    const SpawnResult result = grab.Finish();
    EXPECT_EQ(1, result.exitCode);
    EXPECT_NE(std::string::npos, result.messages.find("camera 20001: the camera went away"))
        << result.messages;
    EXPECT_LE(1U, CountWholePngs(m_folder.Path("images")));
}

TEST_F(GigeTool, ReadsDeviceMemory) {
    Process camera({kFakeCamera}, m_options);
    ASSERT_TRUE(camera.WaitForOutput("ready")) << camera.Finish().messages;
    // The serial number, as text, in the GigE Vision bootstrap registers.
    const SpawnResult result =
        Zevrin::Spawn({kZevrin, "reg", "read", "--memory", "0xD8", kSerial}, m_options);
    EXPECT_EQ(0, result.exitCode) << result.messages;
    EXPECT_EQ("0x000000D8  0x32303030\n", result.output);
    for (const char* address : {"0xFFFFFF00", "0xD8"}) {
        const bool isThere =
            std::string(address) == "0xD8";  // after the other one, which is beyond the memory
        EXPECT_EQ(isThere ? 0 : 4,
                  Zevrin::Spawn({kZevrin, "reg", "read", "--memory", address, kSerial}, m_options).exitCode)
            << address;
    }
}

}  // namespace
