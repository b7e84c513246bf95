#include <cstdio>
#include <ctime>

#include "CameraVerb.h"
#include "CommandLine.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::TimeStamp;

constexpr double kCyclesPerSecond = 8000;
constexpr double kTicksPerSecond = 24576000;

std::string UtcText(const TimeStamp& stamp) {
    const std::time_t seconds = stamp.seconds;
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
    char text[48];
    std::snprintf(text, sizeof text, "%s.%06uZ", date, stamp.microSeconds);
    return text;
}

std::string BusTimeText(const TimeStamp& stamp) {
    char text[32];
    std::snprintf(
        text, sizeof text, "%.7f s",
        stamp.cycleSeconds + stamp.cycleCount / kCyclesPerSecond + stamp.cycleOffset / kTicksPerSecond);
    return text;
}

void Show(const Target& target) {
    TimeStamp stamp;
    target.Check(target.camera.GetCycleTime(&stamp));
    target.Show({
        {"Bus time", "", nullptr, BusTimeText(stamp)},
        {"Cycle seconds", "cycleSeconds", stamp.cycleSeconds, ""},
        {"Cycle count", "cycleCount", stamp.cycleCount, ""},
        {"Cycle offset", "cycleOffset", stamp.cycleOffset, ""},
        {"Taken at", "utc", UtcText(stamp), ""},
    });
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
