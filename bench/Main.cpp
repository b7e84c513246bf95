#include <benchmark/benchmark.h>

#include "support/OwnNetwork.h"

/// In a network of its own, so that no camera of this machine's network is disturbed, or disturbs.
int main(int argc, char** argv) {
    Zevrin::TakeNetwork();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
