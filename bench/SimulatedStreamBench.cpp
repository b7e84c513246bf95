#include <atomic>
#include <boost/chrono/duration.hpp>
#include <boost/thread/thread.hpp>

#include "Image.h"
#include "Measure.h"
#include "Stations.h"

namespace {

using namespace Zevrin;
using namespace ZevrinBench;

constexpr unsigned int kTransmission = 0x614;

/// What a frame costs from its exposure to the release of its image, all of it on one thread: the clock is
/// set by hand, and the frame is not painted.
void SimulatedFrame(benchmark::State& state) {
    constexpr int kBatch = 500;
    constexpr unsigned long long kPeriodUs = 10000;
    SimulatedCameras stand(Describe("manual", R"("frameRate": 100, "exposureUs": 20, "width": 640,
                                                 "height": 480)"));
    Require(stand.First().StartCapture(nullptr, nullptr));
    stand.pSimulation->AdvanceClock(kPeriodUs);  // the first exposure begins at its end
    Image image;
    const Side frames = [&](int) {
        for (int index = 0; index < kBatch; ++index) {
            stand.pSimulation->AdvanceClock(kPeriodUs);
            Require(stand.First().RetrieveBuffer(&image));
            Require(image.ReleaseBuffer());
        }
    };
    for (auto round : state) {
        const Cost cost = MeasureInTurn(201, 1, kBatch, {frames}).front();
        state.SetIterationTime(cost.processor);
        state.counters["frame_us"] = cost.processor * 1e6;
        ShowRatio(state, cost.processor / 5e-6, 1);
    }
    Require(stand.First().StopCapture());
}

/// Many cameras at a rate: every frame has to come.
void SimulatedRate(benchmark::State& state) {
    constexpr int kSeconds = 10;
    constexpr double kFramesPerSecond = 100;
    const auto count = static_cast<double>(state.range(0));
    SimulatedCameras stand(Describe("real", R"("frameRate": 100, "width": 640, "height": 480, "count": )" +
                                                std::to_string(state.range(0))));
    static std::atomic<unsigned int> s_frames;
    for (auto round : state) {
        s_frames = 0;
        const double processorBefore = Now(CLOCK_PROCESS_CPUTIME_ID);
        const double begin = Now(CLOCK_MONOTONIC);
        for (const auto& pCamera : stand.cameras) {
            Require(pCamera->StartCapture([](Image*, const void*) { ++s_frames; }, nullptr));
        }
        boost::this_thread::sleep_for(boost::chrono::seconds(kSeconds));
        for (const auto& pCamera : stand.cameras) {
            Require(pCamera->WriteRegister(kTransmission, 0));
        }
        const double took = Now(CLOCK_MONOTONIC) - begin;
        state.SetIterationTime(took);
        state.counters["processor_per_cent"] = 100 * (Now(CLOCK_PROCESS_CPUTIME_ID) - processorBefore) / took;
        boost::this_thread::sleep_for(boost::chrono::seconds(1));  // what waits for a callback is no loss
        unsigned int lost = 0;
        for (const auto& pCamera : stand.cameras) {
            lost += pCamera->CountLost();
            Require(pCamera->StopCapture());
        }
        state.counters["frames"] = s_frames.load();
        state.counters["of_expected"] = s_frames / (count * kFramesPerSecond * took);
        state.counters["lost"] = lost;
        ShowRatio(state, lost, 0);
    }
}

BENCHMARK(SimulatedFrame)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(SimulatedRate)
    ->ArgName("cameras")
    ->Arg(64)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

}  // namespace
