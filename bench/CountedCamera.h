#pragma once

#include "Measure.h"
#include "Stations.h"

namespace ZevrinBench {

/// A camera whose accesses are counted.
struct CountedCamera {
    CountedCamera() : stand(Describe("manual", R"("bayer": "RGGB")")) {
        stand.First().SetHardware(boost::make_shared<CountingHardware>(stand.First().GetHandle(), pCounts));
    }
    const boost::shared_ptr<AccessCounts> pCounts = boost::make_shared<AccessCounts>();
    SimulatedCameras stand;
};

/// Shows how many accesses the operation makes, and how many registers they reach.
template <typename Operation>
void Count(benchmark::State& state, CountedCamera& counted, const Operation& operation) {
    for (auto round : state) {
        const AccessCounts before = *counted.pCounts;
        operation(counted.stand.First());
        const AccessCounts& after = *counted.pCounts;
        state.counters["accesses"] = after.accesses - before.accesses;
        state.counters["registers"] = after.registers - before.registers;
        state.counters["writes"] = after.writes - before.writes;
    }
}

}  // namespace ZevrinBench
