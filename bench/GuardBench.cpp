#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>
#include <memory>
#include <vector>

#include <zevrin/CameraSystem.h>
#include <zevrin/Simulation.h>

#include "Measure.h"
#include "OpenCamera.h"
#include "components/FakeHardware.h"

namespace {

using namespace Zevrin;
using namespace ZevrinBench;

constexpr unsigned int kFirstSerialNumber = 1001;
constexpr int kRounds = 41;
constexpr int kBatch = 40000;  // longer than the scheduler lets a thread run alone

/// Answers at once.
class InstantHardware : public FakeHardware {
  public:
    Error ReadQuadlets(unsigned short, unsigned int low, unsigned int* pValues, unsigned int) override {
        *pValues = low;
        return Error();
    }
};

/// The locks that a guarded call takes at the least: the bus manager's to acquire and to release it, which
/// all cameras share, and the camera's own for its generation.
struct Locks {
    boost::mutex& shared;
    boost::mutex own;
    unsigned int value = 0;

    void TakeAndGiveBack(boost::mutex& mutex) {
        boost::unique_lock<boost::mutex> lock(mutex);
        benchmark::DoNotOptimize(++value);
    }
    void TakeAll() {
        TakeAndGiveBack(shared);
        TakeAndGiveBack(own);
        TakeAndGiveBack(shared);
    }
};

/// One camera for each thread, and what is compared on it.
struct Stand {
    OpenCamera camera;
    Locks locks;

    Stand(unsigned int serialNumber, boost::mutex& shared) : locks{shared, {}} {
        Require(camera.Connect(serialNumber));
        camera.SetHardware(boost::make_shared<InstantHardware>());
    }
};

template <typename Call>
void Repeat(const Call& call) {
    for (int index = 0; index < kBatch; ++index) {
        call();
    }
}

/// What the guard adds to a component's call, against the locks alone.
void Guard(benchmark::State& state) {
    const int threads = static_cast<int>(state.range(0));
    boost::shared_ptr<Simulation> pSimulation;
    Require(Simulation::FromCount(static_cast<unsigned int>(threads), &pSimulation));
    boost::mutex shared;
    std::vector<std::unique_ptr<Stand>> stands;
    for (int index = 0; index < threads; ++index) {
        stands.push_back(
            std::make_unique<Stand>(kFirstSerialNumber + static_cast<unsigned int>(index), shared));
    }
    const auto at = [&stands](int thread) -> Stand& { return *stands[static_cast<std::size_t>(thread)]; };
    const std::vector<Side> sides = {
        [&](int thread) {
            Repeat([&camera = at(thread).camera] {
                unsigned int value = 0;
                benchmark::DoNotOptimize(camera.ReadRegister(0x100, &value).GetType());
            });
        },
        [&](int thread) {
            Repeat([&registers = at(thread).camera.GetRegisters()] {
                unsigned int value = 0;
                benchmark::DoNotOptimize(registers.ReadRegister(0x100, &value).GetType());
            });
        },
        [&](int thread) { Repeat([&locks = at(thread).locks] { locks.TakeAll(); }); },
    };
    for (auto round : state) {
        const std::vector<Cost> costs = MeasureInTurn(kRounds, threads, kBatch, sides);
        state.SetIterationTime(costs[0].processor);
        state.counters["guard_ns"] = (costs[0].processor - costs[1].processor) * 1e9;
        state.counters["locks_ns"] = costs[2].processor * 1e9;
        state.counters["wall_ratio"] = (costs[0].wall - costs[1].wall) / costs[2].wall;
        ShowRatio(state, (costs[0].processor - costs[1].processor) / costs[2].processor, 1.5);
    }
}

BENCHMARK(Guard)->ArgName("threads")->Arg(1)->Arg(2)->Arg(4)->Arg(16)->Iterations(1)->UseManualTime();

}  // namespace
