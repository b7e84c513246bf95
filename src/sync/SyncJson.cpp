#include <cmath>
#include <nlohmann/json.hpp>

#include "SyncTimeline.h"
#include "zevrin/SyncReport.h"

namespace Zevrin {

namespace {

using Json = nlohmann::ordered_json;

/// With three digits after the point: a tick is 0.04 µs.
double Microseconds(double ticks) {
    return std::round(ticks / kSyncTicksPerMicrosecond * 1000) / 1000;
}

double Microseconds(long long ticks) {
    return Microseconds(static_cast<double>(ticks));
}

double Seconds(long long ticks) {
    return std::round(static_cast<double>(ticks) / static_cast<double>(kSyncTicksPerSecond) * 1e6) / 1e6;
}

Json Describe(const SyncCamera& camera) {
    const auto ifCompared = [&](const Json& value) { return camera.offsets > 0 ? value : Json(); };
    return {{"serialNumber", camera.serialNumber},
            {"isInStep", camera.isInStep},
            {"images", camera.images},
            {"lost", camera.lost},
            {"outOfOrder", camera.outOfOrder},
            {"duplicated", camera.duplicated},
            {"missingSets", camera.missingSets},
            {"unpaired", camera.unpaired},
            {"minUs", ifCompared(Microseconds(camera.minTicks))},
            {"meanUs", ifCompared(Microseconds(camera.meanTicks))},
            {"maxUs", ifCompared(Microseconds(camera.maxTicks))},
            {"worstCycles", ifCompared(camera.worstCycles)},
            {"driftPpm", camera.hasDrift ? Json(std::round(camera.driftPpm * 1e6) / 1e6) : Json()}};
}

Json DescribeWorstPair(const SyncReport& report) {
    if (!report.hasWorstPair) {
        return Json();
    }
    const SyncWorstPair& pair = report.worstPair;
    return {{"set", pair.set},
            {"earlier", report.cameras[pair.earlierCamera].serialNumber},
            {"later", report.cameras[pair.laterCamera].serialNumber},
            {"apartUs", Microseconds(pair.ticks)},
            {"apartCycles", pair.cycles}};
}

/// Null for a camera that has no image in the set, or nothing to be compared with.
Json Describe(const SyncSet& set) {
    Json frames = Json::array();
    Json microseconds = Json::array();
    Json cycles = Json::array();
    for (const SyncMember& member : set.members) {
        frames.push_back(member.record != SyncMember::kNone ? Json(member.frameId) : Json());
        microseconds.push_back(member.hasOffset ? Json(Microseconds(member.offsetTicks)) : Json());
        cycles.push_back(member.hasOffset ? Json(member.offsetCycles) : Json());
    }
    return {{"seconds", Seconds(set.ticks)},
            {"frames", frames},
            {"offsetsUs", microseconds},
            {"offsetsCycles", cycles}};
}

}  // namespace

std::string FormatSyncReportAsJson(const SyncReport& report) {
    Json head = {{"isInStep", report.isInStep},
                 {"limitCycles", kSyncLimitCycles},
                 {"reasons", report.reasons},
                 {"seconds", Seconds(report.durationTicks)},
                 {"periodUs", Microseconds(report.periodTicks)},
                 {"completeSets", report.completeSets},
                 {"worstPair", DescribeWorstPair(report)},
                 {"cameras", Json::array()}};
    for (const SyncCamera& camera : report.cameras) {
        head["cameras"].push_back(Describe(camera));
    }
    std::string text = head.dump(2, ' ', false, Json::error_handler_t::replace);
    text.resize(text.rfind("\n}"));
    text += ",\n  \"sets\": [";
    for (const SyncSet& set : report.sets) {
        text += (text.back() == '[' ? "\n    " : ",\n    ") + Describe(set).dump();
    }
    return text + "\n  ]\n}\n";
}

}  // namespace Zevrin
