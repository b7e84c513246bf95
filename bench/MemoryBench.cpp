#include <malloc.h>
#include <unistd.h>

#include <fstream>
#include <functional>

#include "Image.h"
#include "Measure.h"
#include "Stations.h"

namespace {

using namespace Zevrin;
using namespace ZevrinBench;

/// Bytes that the program has asked the heap for and not given back.
long long MeasureHeap() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<long long>(info.uordblks + info.hblkhd);
}

/// Bytes of its memory that are there.
long long MeasureResident() {
    long long whole = 0;
    long long resident = 0;
    std::ifstream("/proc/self/statm") >> whole >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

/// What `count` rounds leave behind, after a tenth of them that warm up.
void ShowGrowth(benchmark::State& state, int count, const std::function<void(int)>& round) {
    const auto repeat = [&round](int rounds) {
        for (int index = 0; index < rounds; ++index) {
            round(index);
        }
    };
    repeat(count / 10);
    for (auto iteration : state) {
        const long long heap = MeasureHeap();
        const long long resident = MeasureResident();
        repeat(count);
        const auto grown = static_cast<double>(MeasureHeap() - heap);
        state.counters["heap_bytes"] = grown;
        state.counters["resident_bytes"] = static_cast<double>(MeasureResident() - resident);
        ShowRatio(state, grown, 0);
    }
}

/// Half of them reads, half of them writes, of registers that lie side by side.
void MemoryOfRegisters(benchmark::State& state) {
    constexpr unsigned int kUserRegisters = 0x1F00;
    SimulatedCameras stand(Describe("manual", R"("width": 640)"));
    ShowGrowth(state, 500000, [&](int index) {
        const unsigned int address = kUserRegisters + static_cast<unsigned int>(index) % 16 * 4;
        unsigned int value = 0;
        Require(stand.First().ReadRegister(address, &value));
        Require(stand.First().WriteRegister(address, value + 1));
    });
}

void MemoryOfFrames(benchmark::State& state) {
    constexpr unsigned long long kPeriodUs = 10000;
    SimulatedCameras stand(Describe("manual", R"("frameRate": 100, "exposureUs": 20)"));
    Require(stand.First().StartCapture(nullptr, nullptr));
    stand.pSimulation->AdvanceClock(kPeriodUs);  // the first exposure begins at its end
    Image image;
    ShowGrowth(state, 100000, [&](int) {
        stand.pSimulation->AdvanceClock(kPeriodUs);
        Require(stand.First().RetrieveBuffer(&image));
    });
}

BENCHMARK(MemoryOfRegisters)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(MemoryOfFrames)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace
