#include <memory>

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

/// A camera through the camera object and through Aravis alone. All programs are on one processor: a wake-up
/// from one to the other takes several times as long as within one, which would decide by chance.
struct Stand {
    /// @param bareNumber  1: the same camera, which may be read then; only one program may write to a camera
    explicit Stand(unsigned int bareNumber) {
        pBarePeer = bareNumber == 1 ? nullptr : std::make_unique<GigePeer>(bareNumber);
        ZevrinBench::Require(camera.Connect(ourPeer.GetSerialNumber()));
        pBare = std::make_unique<BareDevice>((pBarePeer ? *pBarePeer : ourPeer).GetAddress());
    }
    OnOneCore onOneCore;
    GigePeer ourPeer{1};
    std::unique_ptr<GigePeer> pBarePeer;
    CameraSystem system;
    OpenCamera camera;
    std::unique_ptr<BareDevice> pBare;
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
    Stand stand(1);
    Compare(
        state,
        [&](int) {
            unsigned int value = 0;
            ZevrinBench::Require(stand.camera.ReadRegisterBlock(kDeviceMemory, kScratch, &value, 1));
        },
        [&](int) {
            guint32 value = 0;
            AravisError error;
            arv_device_read_register(stand.pBare->Get(), kScratch, &value, error.Out());
            ZevrinBench::Require(error);
        });
}

void GigeWrite(benchmark::State& state) {
    Stand stand(2);
    const unsigned int value = 0x12345678;
    Compare(
        state,
        [&](int) {
            ZevrinBench::Require(stand.camera.WriteRegisterBlock(kDeviceMemory, kScratch, &value, 1));
        },
        [&](int) {
            AravisError error;
            arv_device_write_register(stand.pBare->Get(), kScratch, value, error.Out());
            ZevrinBench::Require(error);
        });
}

void GigeRun(benchmark::State& state) {
    Stand stand(1);
    MeasureRuns(state, stand.camera, kDeviceMemory, kScratch, 64);
}

BENCHMARK(GigeRead)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(GigeWrite)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(GigeRun)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
