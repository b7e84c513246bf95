#include "SyncOutput.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <vector>

#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr std::size_t kBins = 12;
constexpr std::size_t kBarWidth = 50;
constexpr double kNarrowestBin = 0.1;  // µs: two ticks of the bus clock and a bit

double Microseconds(double ticks) {
    return ticks / Zevrin::kSyncTicksPerMicrosecond;
}

template <typename... Arguments>
std::string Format(const char* format, Arguments... arguments) {
    char text[128];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

void PrintCameras(const Zevrin::SyncReport& report) {
    Table table({"SERIAL", "IMAGES", "LOST", "LATE", "TWICE", "MIN us", "MEAN us", "MAX us", "CYCLES",
                 "DRIFT ppm", "IN STEP"});
    for (const Zevrin::SyncCamera& camera : report.cameras) {
        const auto ifCompared = [&](const std::string& text) { return camera.offsets > 0 ? text : "-"; };
        const auto offset = [&](double ticks) { return ifCompared(Format("%+.1f", Microseconds(ticks))); };
        table.Add({std::to_string(camera.serialNumber), std::to_string(camera.images),
                   std::to_string(camera.lost), std::to_string(camera.outOfOrder),
                   std::to_string(camera.duplicated), offset(static_cast<double>(camera.minTicks)),
                   offset(camera.meanTicks), offset(static_cast<double>(camera.maxTicks)),
                   ifCompared(std::to_string(camera.worstCycles)),
                   camera.hasDrift ? Format("%+.2f", camera.driftPpm) : "-", camera.isInStep ? "yes" : "NO"});
    }
    table.Print();
}

/// Of the offsets of all cameras but the first, whose offsets are 0.
void PrintHistogram(const Zevrin::SyncReport& report) {
    std::vector<double> offsets;
    for (const Zevrin::SyncSet& set : report.sets) {
        for (std::size_t camera = 1; camera < set.members.size(); ++camera) {
            if (set.members[camera].hasOffset) {
                offsets.push_back(Microseconds(static_cast<double>(set.members[camera].offsetTicks)));
            }
        }
    }
    if (offsets.empty()) {
        return;
    }
    const auto range = std::minmax_element(offsets.begin(), offsets.end());
    const double begin = *range.first;
    const double width = std::max((*range.second - begin) / kBins, kNarrowestBin);
    std::vector<std::size_t> counts(kBins);
    for (const double offset : offsets) {
        ++counts[std::min(static_cast<std::size_t>((offset - begin) / width), kBins - 1)];
    }
    const std::size_t highest = *std::max_element(counts.begin(), counts.end());
    std::cout << "\nOFFSETS us          IMAGES\n";
    for (std::size_t bin = 0; bin < kBins; ++bin) {
        const double low = begin + width * static_cast<double>(bin);
        if (low > *range.second) {
            break;
        }
        const std::size_t bar = (counts[bin] * kBarWidth + highest - 1) / highest;
        std::cout << Format("%8.1f %8.1f  %7zu", low, low + width, counts[bin])
                  << (bar > 0 ? "  " + std::string(bar, '#') : "") << "\n";
    }
}

void PrintVerdict(const Zevrin::SyncReport& report) {
    std::cout << "\n" << report.sets.size() << " sets, " << report.completeSets << " of them complete";
    if (report.hasWorstPair) {
        const Zevrin::SyncWorstPair& pair = report.worstPair;
        std::cout << "; furthest apart: " << report.cameras[pair.earlierCamera].serialNumber << " and "
                  << report.cameras[pair.laterCamera].serialNumber
                  << Format(", %.1f us (%lld %s), in set %zu", Microseconds(static_cast<double>(pair.ticks)),
                            pair.cycles, pair.cycles == 1 ? "cycle" : "cycles", pair.set);
    }
    std::cout << "\n"
              << (report.isInStep ? "in step" : "NOT in step") << ": the limit is "
              << Zevrin::kSyncLimitCycles << " cycles (625 us) from camera "
              << report.cameras.front().serialNumber << "\n";
}

}  // namespace

void ShowSyncReport(const Tool& tool, const Zevrin::SyncReport& report, const Json& extra) {
    if (tool.json) {
        Json document = extra;
        document.update(Json::parse(Zevrin::FormatSyncReportAsJson(report)));
        Print(document);
        return;
    }
    PrintCameras(report);
    PrintHistogram(report);
    PrintVerdict(report);
}

std::string DescribeReasons(const Zevrin::SyncReport& report) {
    std::string text = "the cameras are not in step";
    for (const std::string& reason : report.reasons) {
        text += "\nzevrin: " + reason;
    }
    return text;
}

}  // namespace ZevrinTool
