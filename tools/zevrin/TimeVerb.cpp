#include "BusTime.h"
#include "CameraVerb.h"
#include "CommandLine.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

void Show(const Target& target) {
    Zevrin::TimeStamp stamp;
    target.Check(target.camera.GetCycleTime(&stamp));
    target.Show(DescribeBusTime(stamp));
}

constexpr char kFooter[] =
    R"(The bus time counts 128 seconds, in cycles of 125 us and ticks of 24.576 MHz, and begins again.

Examples:
  zevrin time 1001
  zevrin --json time 1001
)";

}  // namespace

void AddTimeVerb(CLI::App& app, Tool& tool) {
    WorkOnCamera(*AddVerb(app, "time", "Shows the camera's bus time", kFooter), tool, Show);
}

}  // namespace ZevrinTool
