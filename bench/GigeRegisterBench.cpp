#include "GigePeer.h"
#include "HardwareInterface.h"
#include "Measure.h"
#include "OpenCamera.h"
#include "zevrin/CameraSystem.h"

namespace {

using namespace Zevrin;
using namespace ZevrinBench;

constexpr unsigned int kScratch = 0x4000;  // beyond the fake camera's registers
constexpr int kRounds = 4000;

/// Two cameras of one program, since only one socket may write to a camera: one through the camera object,
/// the other through Aravis alone.
struct Stand {
    GigePeer ourPeer{1};
    GigePeer barePeer{2};
    CameraSystem system;
    OpenCamera camera;
    BareDevice bare{barePeer.GetAddress()};

    Stand() { ZevrinBench::Require(camera.Connect(ourPeer.GetSerialNumber())); }
};

void Compare(benchmark::State& state, const Side& ours, const Side& bare) {
    for (auto round : state) {
        const std::vector<Cost> costs = MeasureInTurn(kRounds, 1, 1, {ours, bare});
        state.SetIterationTime(costs[0].wall);
        state.counters["bare_us"] = costs[1].wall * 1e6;
        state.counters["processor_ratio"] = costs[0].processor / costs[1].processor;
        ShowRatio(state, costs[0].wall / costs[1].wall, 1.03);
    }
}

void GigeRead(benchmark::State& state) {
    Stand stand;
    Compare(
        state,
        [&](int) {
            unsigned int value = 0;
            ZevrinBench::Require(stand.camera.ReadRegisterBlock(kDeviceMemory, kScratch, &value, 1));
        },
        [&](int) {
            guint32 value = 0;
            AravisError error;
            arv_device_read_register(stand.bare.Get(), kScratch, &value, error.Out());
            ZevrinBench::Require(error);
        });
}

void GigeWrite(benchmark::State& state) {
    Stand stand;
    const unsigned int value = 0x12345678;
    Compare(
        state,
        [&](int) {
            ZevrinBench::Require(stand.camera.WriteRegisterBlock(kDeviceMemory, kScratch, &value, 1));
        },
        [&](int) {
            AravisError error;
            arv_device_write_register(stand.bare.Get(), kScratch, value, error.Out());
            ZevrinBench::Require(error);
        });
}

void GigeRun(benchmark::State& state) {
    Stand stand;
    MeasureRuns(state, stand.camera, kDeviceMemory, kScratch, 64);
}

BENCHMARK(GigeRead)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(GigeWrite)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(GigeRun)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
