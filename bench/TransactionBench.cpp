// Runs of registers instead of single ones: in time, on cameras whose accesses take a while, and in numbers.

#include <vector>

#include "CountedCamera.h"
#include "HardwareInterface.h"
#include "Registers.h"

namespace {

using namespace Zevrin;
using namespace ZevrinBench;

constexpr unsigned int kUserRegisters = 0x1F00;
constexpr unsigned int kLength = 16;

void SimulatedRun(benchmark::State& state) {
    SimulatedCameras stand(
        Describe("real", R"("faults": {"registers": {"readLatencyUs": 100, "writeLatencyUs": 100}})"));
    MeasureRuns(state, stand.First(), kRegisterSpace, kUsualCommandRegisters + kUserRegisters, kLength);
}

void CountLutRead(benchmark::State& state) {
    CountedCamera counted;
    LUTData facts;
    Require(counted.stand.First().GetLUTInfo(&facts));
    std::vector<unsigned int> entries(facts.numEntries);
    Count(state, counted,
          [&](OpenCamera& camera) { Require(camera.GetLUTChannel(0, 0, facts.numEntries, entries.data())); });
}

void CountLutWrite(benchmark::State& state) {
    CountedCamera counted;
    LUTData facts;
    Require(counted.stand.First().GetLUTInfo(&facts));
    const std::vector<unsigned int> entries(facts.numEntries, 1);
    Count(state, counted,
          [&](OpenCamera& camera) { Require(camera.SetLUTChannel(0, 0, facts.numEntries, entries.data())); });
}

BENCHMARK(SimulatedRun)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(CountLutRead)->Iterations(1);
BENCHMARK(CountLutWrite)->Iterations(1);

}  // namespace
