#include "CameraConfig.h"
#include "CountedCamera.h"

namespace {

using namespace ZevrinBench;

void CountConfigSave(benchmark::State& state) {
    CountedCamera counted;
    Count(state, counted, [](OpenCamera& camera) { ZevrinTool::ReadConfig(camera); });
}

/// As `zevrin config load` does it: checked against the camera, then applied.
void CountConfigLoad(benchmark::State& state) {
    CountedCamera counted;
    const ZevrinTool::Json document = ZevrinTool::ReadConfig(counted.stand.First()).document;
    Count(state, counted,
          [&](OpenCamera& camera) { ZevrinTool::ApplyConfig(ZevrinTool::PlanConfig(document, camera)); });
}

BENCHMARK(CountConfigSave)->Iterations(1);
BENCHMARK(CountConfigLoad)->Iterations(1);

}  // namespace
