#include "Grabber.h"

#include <zevrin/CameraSystem.h>
#include <zevrin/Simulation.h>

#include "FrameGate.h"
#include "support/Checks.h"
#include "support/Png.h"
#include "support/TemporaryFolder.h"

namespace ZevrinTool {
namespace {

TEST(FrameNumbers, LeaveOutWhatIsMissingAndGoOnWhereTheCameraBeginsAgain) {
    constexpr unsigned long long kRestart = ~0ULL;
    const struct {
        const char* what;
        std::vector<unsigned long long> ids;
        std::vector<unsigned long long> numbers;
    } cases[] = {
        {"in a row", {0, 1, 2}, {0, 1, 2}},
        {"with gaps", {5, 6, 9, 11}, {5, 6, 9, 11}},
        {"16 bits wrap, without a zero", {65534, 65535, 1, 2}, {65534, 65535, 65536, 65537}},
        {"a stream is started again", {0, kRestart, 0, 1}, {0, 1, 2}},
        {"a stream is started again further on", {7, kRestart, 30, 32}, {7, 8, 10}},
    };
    for (const auto& row : cases) {
        FrameNumbers numbers;
        std::vector<unsigned long long> result;
        for (const unsigned long long id : row.ids) {
            if (id == kRestart) {
                numbers.Restart();
            } else {
                result.push_back(numbers.Add(id));
            }
        }
        EXPECT_EQ(row.numbers, result) << row.what;
    }
}

TEST(FrameGate, KeepsByTheCamerasNumbersAndBursts) {
    struct Step {
        unsigned long long number;
        unsigned long long burst;
        bool isKept;
    };
    const struct {
        const char* what;
        unsigned int every;
        unsigned int burst;
        std::vector<Step> steps;
    } cases[] = {
        {"all", 1, 0, {{7, 0, true}, {8, 0, true}, {20, 0, true}, {21, 0, true}}},
        {"one of three, the first of each that comes",
         3,
         0,
         {{7, 0, true}, {8, 0, false}, {9, 0, false}, {11, 0, true}, {12, 0, false}, {13, 0, true}}},
        {"a whole group is lost", 3, 0, {{0, 0, true}, {7, 0, true}, {8, 0, false}, {9, 0, true}}},
        {"bursts of two", 1, 2, {{1, 1, true}, {2, 1, true}, {3, 1, false}, {4, 2, true}, {5, 2, true}}},
        {"a burst cuts the one before short",
         1,
         3,
         {{1, 1, true}, {2, 2, true}, {3, 2, true}, {4, 2, true}, {5, 2, false}}},
        {"every other in bursts",
         2,
         2,
         {{0, 1, true}, {1, 1, false}, {2, 1, true}, {4, 1, false}, {6, 3, true}}},
    };
    for (const auto& row : cases) {
        FrameGate gate(row.every, row.burst);
        for (const Step& step : row.steps) {
            EXPECT_EQ(step.isKept, gate.Keep(step.number, step.burst)) << row.what << ": " << step.number;
        }
    }
}

class GrabberTest : public testing::Test {
  protected:
    GrabberTest() {
        EXPECT_TRUE(IsOk(Zevrin::Simulation::FromJson(
            R"({"cameras": [{"serial": 7, "width": 64, "height": 48, "frameRate": 200}]})", &m_pSimulation)));
        EXPECT_TRUE(IsOk(m_system.Connect(7, &m_pCamera)));
        m_plan.count = 100000;
        m_plan.folder = m_folder.Path();
    }

    /// Grabs, does something when this many images are there, and awaits the end.
    void Grab(unsigned int frames, const std::function<void(Grabber&)>& disturb, int exitCode,
              const std::string& failure) {
        Grabber grabber(7, m_pCamera, m_plan);
        grabber.Start();
        ASSERT_TRUE(Zevrin::Await([&] { return grabber.CountFrames() >= frames; }));
        disturb(grabber);
        const GrabOutcome& outcome = grabber.Join();
        EXPECT_EQ(exitCode, outcome.exitCode);
        EXPECT_EQ(failure, outcome.failure);
        EXPECT_TRUE(grabber.IsDone());
        EXPECT_LE(frames, outcome.frames);
        EXPECT_EQ(outcome.frames, outcome.files.size());
        for (const std::string& file : outcome.files) {
            EXPECT_TRUE(Zevrin::IsWholePng(file)) << file;
        }
    }

    Zevrin::TemporaryFolder m_folder;
    boost::shared_ptr<Zevrin::Simulation> m_pSimulation;
    Zevrin::CameraSystem m_system;
    boost::shared_ptr<Zevrin::IidcCamera> m_pCamera;
    GrabPlan m_plan;
};

TEST_F(GrabberTest, StopsWhenItIsTold) {
    const auto stop = [](Grabber& grabber) { grabber.Stop(); };
    Grab(3, stop, kExitFailed, "stopped");
}

TEST_F(GrabberTest, KeepsWhatItHasWhenTheCameraVanishes) {
    const auto unplug = [&](Grabber&) { EXPECT_TRUE(IsOk(m_pSimulation->Unplug(7))); };
    Grab(3, unplug, kExitFailed, "the camera went away");
}

TEST_F(GrabberTest, GoesOnAfterABusReset) {
    m_plan.count = 30;
    const auto reset = [&](Grabber&) { EXPECT_TRUE(IsOk(m_pSimulation->ResetBus(7))); };
    Grab(3, reset, kExitGood, "");
}

TEST_F(GrabberTest, WaitsForACameraThatComesBack) {
    m_plan.reconnectSeconds = 60;
    const auto disturb = [&](Grabber& grabber) {
        for (unsigned int frames = 6; frames <= 30; frames += 12) {
            EXPECT_TRUE(IsOk(m_pSimulation->Unplug(7)));
            EXPECT_TRUE(IsOk(m_pSimulation->Replug(7)));
            EXPECT_TRUE(Zevrin::Await([&] { return grabber.CountFrames() >= frames; }));
        }
        grabber.Stop();
    };
    Grab(3, disturb, kExitFailed, "stopped");
}

}  // namespace
}  // namespace ZevrinTool
