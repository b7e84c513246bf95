#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>

#include "BusTime.h"
#include "CameraVerb.h"
#include "CommandLine.h"
#include "Interruption.h"
#include "Numbers.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::CameraStats;

constexpr unsigned int kMaxCount = 1000000;
constexpr unsigned int kMinIntervalMs = 10;
constexpr unsigned int kMaxIntervalMs = 3600000;

struct StatsOptions {
    bool reset = false;
    bool watch = false;
    bool stream = false;
    unsigned int count = 0;  ///< 0: until it is interrupted
    unsigned int intervalMs = 1000;
};

Json Measurements(const float* pValues, unsigned int count) {
    Json values = Json::array();
    for (unsigned int index = 0; index < count && index < CameraStats::kMaxMeasurements; ++index) {
        values.push_back(Shorten(pValues[index]));
    }
    return values;
}

Facts Describe(const CameraStats& stats) {
    Facts facts = {
        {"Images dropped", "imagesDropped", stats.numImagesDropped, ""},
        {"Images corrupt", "imagesCorrupt", stats.numImagesCorrupt, ""},
        {"Driver-dropped", "imagesDriverDropped", stats.numImagesDriverDropped, ""},
        {"Transmit failures", "transmitFailures", stats.transmitFailures, ""},
        {"Read failures", "registerReadFailures", stats.registerReadFailures, ""},
        {"Write failures", "registerWriteFailures", stats.registerWriteFailures, ""},
        {"Port errors", "portErrors", stats.portErrors, ""},
        {"Resends asked for", "resendPacketsRequested", stats.numResendPacketsRequested, ""},
        {"Resends received", "resendPacketsReceived", stats.numResendPacketsReceived, ""},
        {"Power", "power", stats.cameraPowerUp, OnOff(stats.cameraPowerUp)},
        {"Temperature (raw)", "temperatureRaw", stats.property17Value, ""},
        {"Measurements A", "measurementsA", Measurements(stats.measurementsA, stats.numMeasurementsA), ""},
        {"Measurements B", "measurementsB", Measurements(stats.measurementsB, stats.numMeasurementsB), ""},
        {"Register 0x12E0", "register12E0", stats.register12E0Value, Hex(stats.register12E0Value)},
        {"Register 0x12E4", "register12E4", stats.register12E4Value, Hex(stats.register12E4Value)},
    };
    const Facts time = DescribeBusTime(stats.timeStamp);
    facts.insert(facts.end(), time.begin(), time.end());
    return facts;
}

/// The counters that are worth a column of their own while they are watched.
void ShowRow(bool isFirst, const CameraStats& stats, unsigned long long images) {
    const struct {
        const char* name;
        unsigned long long value;
    } columns[] = {{"IMAGES", images},
                   {"DROPPED", stats.numImagesDropped},
                   {"CORRUPT", stats.numImagesCorrupt},
                   {"DRIVER", stats.numImagesDriverDropped},
                   {"TRANSMIT", stats.transmitFailures},
                   {"READ", stats.registerReadFailures},
                   {"WRITE", stats.registerWriteFailures},
                   {"PORT", stats.portErrors},
                   {"TEMPERATURE", stats.property17Value}};
    std::string heading;
    std::string row;
    for (const auto& column : columns) {
        const std::string name = column.name;
        const std::string value = std::to_string(column.value);
        const std::size_t width = std::max<std::size_t>(name.size(), 8) + 2;
        heading += std::string(width - name.size(), ' ') + name;
        row += std::string(width > value.size() ? width - value.size() : 1, ' ') + value;
    }
    std::cout << (isFirst ? heading + "\n" : "") << row << std::endl;
}

CameraStats ReadStats(const Target& target) {
    CameraStats stats;
    target.Check(target.camera.GetStats(&stats));
    return stats;
}

void Watch(const Target& target, const StatsOptions& options) {
    CatchInterruptions();
    std::unique_ptr<IdleStream> pStream;
    if (options.stream) {
        pStream = std::make_unique<IdleStream>(target);
    }
    for (unsigned int row = 0; !IsInterrupted(); ++row) {
        const unsigned long long images = pStream ? pStream->CountImages() : 0;
        const CameraStats stats = ReadStats(target);
        if (target.tool.json) {
            Json document = {{"serialNumber", target.serialNumber}, {"images", images}};
            document.update(ToJson(Describe(stats)));
            PrintLine(document);
        } else {
            ShowRow(row == 0, stats, images);
        }
        if (row + 1 == options.count) {
            return;
        }
        WaitFor(std::chrono::milliseconds(options.intervalMs));
    }
}

void Show(const Target& target, const StatsOptions& options) {
    if (options.reset) {
        target.Check(target.camera.ResetStats());
    }
    if (options.watch) {
        Watch(target, options);
    } else {
        target.Show(Describe(ReadStats(target)));
    }
}

constexpr char kFooter[] =
    R"(The counters of images, resends, registers and ports begin at 0 with each program that uses the camera: they tell
nothing of another one, such as a `zevrin capture` that runs, which counts its own. With --stream this one lets the
camera send images, and counts them. Transmit failures are the camera's own count. With --json, --watch writes one
document on each line.

Examples:
  zevrin stats 1001
  zevrin stats --reset 1001
  zevrin stats --watch --stream -n 3 --interval 100 1001
)";

}  // namespace

void AddStatsVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(app, "stats", "Shows counters and readings of the camera", kFooter);
    auto pOptions = std::make_shared<StatsOptions>();
    pVerb->add_flag("--reset", pOptions->reset, "Sets the counters to zero before that");
    CLI::Option* const pWatch = pVerb->add_flag("--watch", pOptions->watch, "Shows them again and again");
    pVerb->add_flag("--stream", pOptions->stream, "Lets the camera stream meanwhile; its images are let go")
        ->needs(pWatch);
    AddNumber(*pVerb, "-n,--count", "<times>", &pOptions->count, {1, kMaxCount, 1},
              "How often, 1 to 1000000 (default: until it is interrupted)")
        ->needs(pWatch);
    AddNumber(*pVerb, "--interval", "<ms>", &pOptions->intervalMs, {kMinIntervalMs, kMaxIntervalMs, 1},
              "Time between two in milliseconds, 10 to 3600000 (default: 1000)")
        ->needs(pWatch);
    WorkOnCamera(*pVerb, tool, [pOptions](const Target& target) { Show(target, *pOptions); });
}

}  // namespace ZevrinTool
