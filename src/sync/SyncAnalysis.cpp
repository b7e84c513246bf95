#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <unordered_map>

#include "Failure.h"
#include "FormatText.h"
#include "SyncMatching.h"
#include "SyncTimeline.h"
#include "zevrin/SyncReport.h"

namespace Zevrin {

namespace {

constexpr std::size_t kMaxCameras = 64;

/// The share of images without a partner that counts against a camera: more than one in so many.
constexpr std::size_t kUnpairedShare = 10;

/// For a run of single images, which have no period: they belong together when a person would say so.
constexpr long long kPeriodOfNone = 2 * kSyncTicksPerSecond;

/// The cycle that a time is in. Times before the first camera's zero are negative.
long long CycleOf(long long ticks) {
    return ticks >= 0 ? ticks / kSyncTicksPerCycle
                      : -((-ticks + kSyncTicksPerCycle - 1) / kSyncTicksPerCycle);
}

using Orders = std::vector<std::vector<std::size_t>>;

/// Sorts the records by camera, in the order of their arrival.
Error SortByCamera(const std::vector<unsigned int>& serialNumbers, const std::vector<SyncRecord>& records,
                   Orders* pOrders) {
    std::unordered_map<unsigned int, std::size_t> cameraOf;
    for (const unsigned int serialNumber : serialNumbers) {
        if (!cameraOf.emplace(serialNumber, cameraOf.size()).second) {
            return Failure(ERR_INVALID_PARAMETER, "Camera %u is given twice.", serialNumber);
        }
    }
    pOrders->resize(serialNumbers.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        const auto found = cameraOf.find(records[i].serialNumber);
        if (found == cameraOf.end()) {
            return Failure(ERR_INVALID_PARAMETER,
                           "Record %zu is of camera %u, which is not one of the run's.", i,
                           records[i].serialNumber);
        }
        const Error error = CheckSyncStamp(records[i], FormatText("Record %zu", i));
        if (error != ERR_OK) {
            return error;
        }
        (*pOrders)[found->second].push_back(i);
    }
    return Error();
}

std::vector<SyncTimeline> MakeTimelines(const std::vector<SyncRecord>& records, const Orders& orders) {
    // The axis begins with the first camera that has an image at all.
    const auto begin =
        std::find_if(orders.begin(), orders.end(), [](const auto& order) { return !order.empty(); });
    const long long anchor = TicksOf(records[begin->front()]);
    std::vector<SyncTimeline> timelines;
    for (const auto& order : orders) {
        timelines.push_back(MakeTimeline(records, order, anchor));
    }
    return timelines;
}

long long PeriodOf(const std::vector<SyncTimeline>& timelines) {
    for (const SyncTimeline& timeline : timelines) {
        if (timeline.periodTicks > 0) {
            return timeline.periodTicks;
        }
    }
    return 0;
}

/// A line through points by least squares.
class Line {
  public:
    void Add(double x, double y) { m_points.push_back({x, y}); }

    /// False when there is no such line: a single point, or none.
    bool FindSlope(double* pSlope) const {
        const double count = static_cast<double>(m_points.size());
        double meanX = 0;
        double meanY = 0;
        for (const Point& point : m_points) {
            meanX += point.x / count;
            meanY += point.y / count;
        }
        double xx = 0;
        double xy = 0;
        for (const Point& point : m_points) {
            xx += (point.x - meanX) * (point.x - meanX);
            xy += (point.x - meanX) * (point.y - meanY);
        }
        *pSlope = xx > 0 ? xy / xx : 0;
        return xx > 0;
    }

  private:
    struct Point {
        double x;
        double y;
    };
    std::vector<Point> m_points;
};

bool IsPresent(const SyncMember& member) {
    return member.record != SyncMember::kNone;
}

/// Fills in the offsets of a set's members, and looks for the two that are furthest apart.
void CompareSet(std::size_t index, SyncReport* pReport) {
    auto& members = pReport->sets[index].members;
    const SyncMember first = members.front();
    std::size_t earliest = members.size();
    std::size_t latest = members.size();
    std::size_t present = 0;
    for (std::size_t camera = 0; camera < members.size(); ++camera) {
        SyncMember& member = members[camera];
        if (!IsPresent(member)) {
            continue;
        }
        ++present;
        member.hasOffset = IsPresent(first);
        member.offsetTicks = member.hasOffset ? member.ticks - first.ticks : 0;
        member.offsetCycles = member.hasOffset ? CycleOf(member.ticks) - CycleOf(first.ticks) : 0;
        earliest = present == 1 || member.ticks < members[earliest].ticks ? camera : earliest;
        latest = present == 1 || member.ticks > members[latest].ticks ? camera : latest;
    }
    pReport->completeSets += present == members.size() ? 1 : 0;
    if (present < 2) {
        return;
    }
    const long long apart = members[latest].ticks - members[earliest].ticks;
    if (!pReport->hasWorstPair || apart > pReport->worstPair.ticks) {
        pReport->hasWorstPair = true;
        pReport->worstPair = {index, earliest, latest, apart,
                              CycleOf(members[latest].ticks) - CycleOf(members[earliest].ticks)};
    }
}

/// The images of a camera that none of the first camera's belongs to, although that one lost no frame then.
std::size_t CountUnpaired(const SyncReport& report, const SyncTimeline& first, std::size_t camera) {
    std::size_t unpaired = 0;
    for (const SyncSet& set : report.sets) {
        const SyncMember& member = set.members[camera];
        if (!IsPresent(member) || IsPresent(set.members.front())) {
            continue;
        }
        const auto after =
            std::lower_bound(first.shots.begin(), first.shots.end(), member.ticks,
                             [](const SyncShot& shot, long long ticks) { return shot.ticks < ticks; });
        const bool isBetween = after != first.shots.begin() && after != first.shots.end();
        const long long gap = isBetween ? after->ticks - std::prev(after)->ticks : 0;
        unpaired += isBetween && 2 * gap < 3 * first.periodTicks ? 1 : 0;
    }
    return unpaired;
}

/// Moves the time axis to begin with the first image.
void MoveToZero(SyncReport* pReport) {
    long long begin = pReport->sets.front().ticks;
    long long end = begin;
    for (const SyncSet& set : pReport->sets) {
        for (const SyncMember& member : set.members) {
            begin = IsPresent(member) ? std::min(begin, member.ticks) : begin;
            end = IsPresent(member) ? std::max(end, member.ticks) : end;
        }
    }
    pReport->durationTicks = end - begin;
    for (SyncSet& set : pReport->sets) {
        set.ticks -= begin;
        for (SyncMember& member : set.members) {
            member.ticks -= IsPresent(member) ? begin : 0;
        }
    }
}

/// The offsets of one camera over the run.
void Measure(SyncReport* pReport, std::size_t index) {
    SyncCamera& camera = pReport->cameras[index];
    Line line;
    double sum = 0;
    double phase = 0;
    const double period = static_cast<double>(pReport->periodTicks);
    for (const SyncSet& set : pReport->sets) {
        const SyncMember& member = set.members[index];
        camera.missingSets += IsPresent(member) ? 0 : 1;
        if (!member.hasOffset) {
            continue;
        }
        const bool isFirst = camera.offsets++ == 0;
        camera.minTicks = isFirst ? member.offsetTicks : std::min(camera.minTicks, member.offsetTicks);
        camera.maxTicks = isFirst ? member.offsetTicks : std::max(camera.maxTicks, member.offsetTicks);
        if (std::abs(member.offsetCycles) > std::abs(camera.worstCycles)) {
            camera.worstCycles = member.offsetCycles;
        }
        const double offset = static_cast<double>(member.offsetTicks);
        sum += offset;
        // A camera that has drifted by half a period is paired with the next frame: the drift goes on.
        phase = isFirst || period <= 0 ? offset : offset + period * std::round((phase - offset) / period);
        line.Add(static_cast<double>(set.ticks), phase);
    }
    if (camera.offsets > 0) {
        camera.meanTicks = sum / static_cast<double>(camera.offsets);
    }
    camera.hasDrift = line.FindSlope(&camera.driftPpm);
    camera.driftPpm *= 1e6;
}

/// Empty when the camera is in step.
std::string FindReason(const SyncCamera& camera, unsigned int firstSerialNumber) {
    if (camera.images == 0) {
        return FormatText("camera %u has no image", camera.serialNumber);
    }
    if (camera.images > 1 && camera.duplicated == camera.images - 1) {
        return FormatText("all %zu images of camera %u carry one and the same time stamp", camera.images,
                          camera.serialNumber);
    }
    if (camera.offsets == 0) {
        return FormatText("no image of camera %u was taken within half a frame period of one of camera %u",
                          camera.serialNumber, firstSerialNumber);
    }
    if (camera.unpaired > camera.images / kUnpairedShare) {
        return FormatText("%zu of the %zu images of camera %u were taken between two of camera %u",
                          camera.unpaired, camera.images, camera.serialNumber, firstSerialNumber);
    }
    if (std::abs(camera.worstCycles) > static_cast<long long>(kSyncLimitCycles)) {
        const long long worst =
            std::abs(camera.minTicks) > std::abs(camera.maxTicks) ? camera.minTicks : camera.maxTicks;
        return FormatText("camera %u is up to %lld cycles (%.1f µs) from camera %u; the limit is %u cycles",
                          camera.serialNumber, std::abs(camera.worstCycles),
                          std::abs(static_cast<double>(worst)) / kSyncTicksPerMicrosecond, firstSerialNumber,
                          kSyncLimitCycles);
    }
    return std::string();
}

void Judge(SyncReport* pReport) {
    for (SyncCamera& camera : pReport->cameras) {
        const std::string reason = FindReason(camera, pReport->cameras.front().serialNumber);
        camera.isInStep = reason.empty();
        if (!reason.empty()) {
            pReport->reasons.push_back(reason);
        }
    }
    pReport->isInStep = pReport->reasons.empty();
}

}  // namespace

Error CheckSyncStamp(const SyncRecord& record, const std::string& what) {
    const struct {
        const char* name;
        unsigned int value;
        unsigned int max;
    } fields[] = {{"seconds", record.cycleSeconds, kCycleSecondsWrap - 1},
                  {"cycles", record.cycleCount, kCyclesPerSecond - 1},
                  {"offset", record.cycleOffset, kOffsetTicksPerCycle - 1}};
    for (const auto& field : fields) {
        if (field.value > field.max) {
            return Failure(
                ERR_VALUE_OUT_OF_RANGE,
                "%s (camera %u, frame %llu): the %s of its time stamp are %u; they must be 0 to %u.",
                Printable(what).c_str(), record.serialNumber, record.frameId, field.name, field.value,
                field.max);
        }
    }
    return Error();
}

Error AnalyzeSync(const std::vector<unsigned int>& serialNumbers, const std::vector<SyncRecord>& records,
                  SyncReport* pReport) {
    if (pReport == nullptr || serialNumbers.empty() || serialNumbers.size() > kMaxCameras ||
        records.empty()) {
        return Failure(
            ERR_INVALID_PARAMETER,
            "A report needs 1 to %zu cameras, at least one image and a place; given are %zu cameras, "
            "%zu images and %s place.",
            kMaxCameras, serialNumbers.size(), records.size(), pReport == nullptr ? "no" : "a");
    }
    Orders orders;
    const Error error = SortByCamera(serialNumbers, records, &orders);
    if (error != ERR_OK) {
        return error;
    }
    const std::vector<SyncTimeline> timelines = MakeTimelines(records, orders);
    SyncReport report;
    report.periodTicks = PeriodOf(timelines);
    report.sets = MatchSets(timelines, report.periodTicks > 0 ? report.periodTicks : kPeriodOfNone);
    for (std::size_t i = 0; i < report.sets.size(); ++i) {
        CompareSet(i, &report);  // before the axis is moved: the limit is for the bus clock's own cycles
        for (SyncMember& member : report.sets[i].members) {
            member.frameId = IsPresent(member) ? records[member.record].frameId : 0;
        }
    }
    std::vector<std::size_t> unpaired;
    for (std::size_t i = 0; i < timelines.size(); ++i) {
        unpaired.push_back(CountUnpaired(report, timelines.front(), i));
    }
    MoveToZero(&report);
    for (std::size_t i = 0; i < timelines.size(); ++i) {
        SyncCamera camera;
        camera.serialNumber = serialNumbers[i];
        camera.images = timelines[i].images;
        camera.lost = timelines[i].lost;
        camera.outOfOrder = timelines[i].outOfOrder;
        camera.duplicated = timelines[i].duplicated;
        camera.unpaired = unpaired[i];
        report.cameras.push_back(camera);
        Measure(&report, i);
    }
    Judge(&report);
    *pReport = std::move(report);
    return Error();
}

}  // namespace Zevrin
