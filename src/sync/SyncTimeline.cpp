#include "SyncTimeline.h"

#include <algorithm>

namespace Zevrin {

namespace {

constexpr long long kWrap = kCycleSecondsWrap * kSyncTicksPerSecond;

/// An image that arrives late was taken at most so long before the one that arrived last. What remains of the
/// wrap is the longest gap that can be told.
constexpr long long kFurthestBack = 16 * kSyncTicksPerSecond;

/// `from` and the way to a stamp on the circle, which goes back by `furthestBack` at most.
long long Continue(long long from, long long stamp, long long furthestBack) {
    const long long onCircle = (stamp - from + furthestBack) % kWrap;
    return from + (onCircle < 0 ? onCircle + kWrap : onCircle) - furthestBack;
}

std::vector<long long> GapsOf(const std::vector<SyncShot>& shots) {
    std::vector<long long> gaps;
    for (std::size_t i = 1; i < shots.size(); ++i) {
        gaps.push_back(shots[i].ticks - shots[i - 1].ticks);
    }
    return gaps;
}

unsigned long long CountLost(const std::vector<SyncRecord>& records, const SyncTimeline& timeline) {
    const auto& shots = timeline.shots;
    const auto idOf = [&](std::size_t shot) { return records[shots[shot].record].frameId; };
    bool isRising = true;
    unsigned long long lostByStamps = 0;
    for (std::size_t i = 1; i < shots.size(); ++i) {
        isRising = isRising && idOf(i) > idOf(i - 1);
        const long long gap = shots[i].ticks - shots[i - 1].ticks;
        const long long periods = (gap + timeline.periodTicks / 2) / timeline.periodTicks;
        lostByStamps += static_cast<unsigned long long>(std::max(periods, 1LL) - 1);
    }
    if (isRising && !shots.empty()) {
        return idOf(shots.size() - 1) - idOf(0) - (shots.size() - 1);
    }
    return lostByStamps;
}

}  // namespace

long long TicksOf(const SyncRecord& record) {
    return record.cycleSeconds * kSyncTicksPerSecond + record.cycleCount * kSyncTicksPerCycle +
           record.cycleOffset;
}

long long MedianOf(std::vector<long long> values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

SyncTimeline MakeTimeline(const std::vector<SyncRecord>& records, const std::vector<std::size_t>& order,
                          long long anchor) {
    SyncTimeline timeline;
    timeline.images = order.size();
    auto& shots = timeline.shots;
    shots.reserve(order.size());
    long long latest = 0;
    for (const std::size_t record : order) {
        const long long stamp = TicksOf(records[record]);
        const long long ticks = shots.empty() ? Continue(anchor, stamp, kWrap / 2)
                                              : Continue(shots.back().ticks, stamp, kFurthestBack);
        timeline.outOfOrder += !shots.empty() && ticks < latest ? 1 : 0;
        latest = shots.empty() ? ticks : std::max(latest, ticks);
        shots.push_back({ticks, record});
    }
    std::stable_sort(shots.begin(), shots.end(),
                     [](const SyncShot& left, const SyncShot& right) { return left.ticks < right.ticks; });
    const auto isSame = [](const SyncShot& left, const SyncShot& right) { return left.ticks == right.ticks; };
    shots.erase(std::unique(shots.begin(), shots.end(), isSame), shots.end());
    timeline.duplicated = timeline.images - shots.size();
    timeline.periodTicks = MedianOf(GapsOf(shots));
    timeline.lost = CountLost(records, timeline);
    return timeline;
}

}  // namespace Zevrin
