#include "Grabber.h"

#include <zevrin/CameraSystem.h>
#include <zevrin/Simulation.h>

#include <set>
#include <string>

#include "FrameGate.h"
#include "ToolFolder.h"

namespace ZevrinTool {
namespace {

TEST(FrameNumbers, AreTheCamerasOwnAndGoOnWhereItBeginsAgain) {
    constexpr unsigned long long kRestart = ~0ULL;
    const struct {
        const char* what;
        std::vector<unsigned long long> ids;
        std::vector<unsigned long long> numbers;
    } cases[] = {
        {"with gaps", {5, 6, 9, 11}, {5, 6, 9, 11}},
        {"twice and late", {3, 3, 6, 4, 5, 7}, {3, 3, 6, 4, 5, 7}},
        {"late before a restart", {0, 4, 3, kRestart, 0, 2}, {0, 4, 3, 5, 7}},
        {"late behind a restart", {8, kRestart, 1, 0, 2}, {8, 9, 9, 10}},
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
    const struct {
        const char* what;
        unsigned int every;
        unsigned int burst;
        std::vector<unsigned long long> numbers;
        const char* bursts;  // in which they come
        const char* kept;
    } cases[] = {
        {"all, twice and late", 1, 0, {7, 9, 9, 8, 20}, "00000", "+++++"},
        {"of three the first that comes", 3, 0, {7, 8, 10, 11, 12, 9}, "000000", "+-+-+-"},
        {"a whole group is lost, another late", 3, 0, {0, 7, 8, 9, 5, 5}, "000000", "++-++-"},
        {"bursts of two", 1, 2, {1, 2, 3, 4, 5}, "11122", "++-++"},
        {"a burst cuts the one before short", 1, 3, {1, 2, 3, 4, 5}, "12222", "++++-"},
        {"every other in bursts", 2, 2, {0, 1, 2, 4, 6}, "11113", "+-+-+"},
    };
    for (const auto& row : cases) {
        FrameGate gate(row.every, row.burst);
        for (std::size_t index = 0; index < row.numbers.size(); ++index) {
            const bool isKept =
                gate.Keep(row.numbers[index], static_cast<unsigned char>(row.bursts[index] - '0'));
            EXPECT_EQ(row.kept[index] == '+', isKept) << row.what << ": " << row.numbers[index];
        }
    }
}

TEST(Grabber, KeepsWholeFilesWhateverHappens) {
    boost::shared_ptr<Zevrin::Simulation> pSimulation;
    const auto unplug = [&](Grabber&) { EXPECT_TRUE(IsOk(pSimulation->Unplug(7))); };
    const struct {
        const char* what;
        unsigned int count;
        unsigned int reconnectSeconds;
        std::function<void(Grabber&)> disturb;
        int exitCode;
        const char* failure;
    } cases[] = {
        {"the camera vanishes", 100000, 0, unplug, kExitFailed, "the camera went away"},
        {"a bus reset", 30, 0, [&](Grabber&) { EXPECT_TRUE(IsOk(pSimulation->ResetBus(7))); }, kExitGood, ""},
        {"the camera comes back, and again", 100000, 60,
         [&](Grabber& grabber) {
             for (unsigned int frames = 6; frames <= 30; frames += 12) {
                 unplug(grabber);
                 EXPECT_TRUE(IsOk(pSimulation->Replug(7)));
                 EXPECT_TRUE(Zevrin::Await([&] { return grabber.CountFrames() >= frames; }));
             }
             grabber.Stop();
         },
         kExitFailed, "stopped"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        const Zevrin::TemporaryFolder folder;
        Zevrin::CameraSystem system;
        boost::shared_ptr<Zevrin::IidcCamera> pCamera;
        ASSERT_TRUE(IsOk(Zevrin::Simulation::FromJson(
            R"({"cameras": [{"serial": 7, "width": 64, "height": 48, "frameRate": 200}]})", &pSimulation)));
        ASSERT_TRUE(IsOk(system.Connect(7, &pCamera)));
        GrabPlan plan;
        plan.count = row.count;
        plan.folder = folder.Path();
        plan.reconnectSeconds = row.reconnectSeconds;
        Grabber grabber(7, pCamera, plan);
        grabber.Start();
        ASSERT_TRUE(Zevrin::Await([&] { return grabber.CountFrames() >= 3; }));
        row.disturb(grabber);
        const GrabOutcome& outcome = grabber.Join();
        EXPECT_EQ(row.exitCode, outcome.exitCode);
        EXPECT_EQ(row.failure, outcome.failure);
        EXPECT_TRUE(grabber.IsDone());
        EXPECT_LE(3U, outcome.frames);
        const std::set<std::string> distinct(outcome.files.begin(), outcome.files.end());
        EXPECT_EQ(outcome.frames, distinct.size());
        EXPECT_TRUE(std::all_of(distinct.begin(), distinct.end(), Zevrin::IsWholePng));
    }
}

}  // namespace
}  // namespace ZevrinTool
