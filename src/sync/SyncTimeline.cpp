#include "SyncTimeline.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace Zevrin {

namespace {

constexpr long long kWrap = kCycleSecondsWrap * kSyncTicksPerSecond;

/// An image that arrives late was taken at most so long before the one that arrived last. What remains of the
/// wrap is the longest gap that can be told.
constexpr long long kFurthestBack = 16 * kSyncTicksPerSecond;

/// As far as frame numbers are believed to tell how long a camera was silent. A file from anywhere may have
/// ten million of such silences, which must not overflow.
constexpr long long kLongestSilence = 2 * 3600 * kSyncTicksPerSecond;

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

/// The median time from one frame number to the next, of images as they arrived; each counts as one where
/// the numbers do not rise. 0 when there is none.
long long EstimatePeriod(const std::vector<SyncRecord>& records, const std::vector<std::size_t>& order) {
    std::vector<long long> periods;
    for (std::size_t i = 1; i < order.size(); ++i) {
        const SyncRecord& last = records[order[i - 1]];
        const SyncRecord& next = records[order[i]];
        const long long gap = Continue(0, TicksOf(next) - TicksOf(last), kFurthestBack);
        const unsigned long long numbers = next.frameId > last.frameId ? next.frameId - last.frameId : 1;
        if (gap > 0 && numbers <= static_cast<unsigned long long>(gap)) {
            periods.push_back(gap / static_cast<long long>(numbers));
        }
    }
    return MedianOf(std::move(periods));
}

/// Finds out how often the clock has begun anew: a stamp belongs where the frame number says or later (a
/// camera may have paused), or else after the last one. A single stamp that is far from there is left aside
/// when the next one goes on as if it had not been.
class Unwrapper {
  public:
    Unwrapper(long long anchor, long long period)
        : m_anchor(anchor), m_period(period), m_tolerance(kSyncTicksPerSecond + 2 * period) {}

    /// The time of the next image.
    long long Place(const SyncRecord& record) {
        const long long stamp = TicksOf(record);
        if (!m_hasBase) {
            Accept({Continue(m_anchor, stamp, kWrap / 2), record.frameId});
            return m_base.ticks;
        }
        Point point = {Follow(record.frameId, stamp), record.frameId};
        if (m_hasSuspect && !IsExpected(point)) {
            Accept(m_suspect);
            point.ticks = Follow(record.frameId, stamp);
        }
        m_isLate = point.ticks < m_latest;
        m_hasSuspect = !IsExpected(point);
        if (m_hasSuspect) {
            m_suspect = point;
        } else {
            Accept(point);
        }
        return point.ticks;
    }

    /// Whether the image that was placed last was taken before one that had come earlier.
    bool IsLate() const { return m_isLate; }

  private:
    struct Point {
        long long ticks;
        unsigned long long frameId;
    };

    /// 0 when the numbers do not tell.
    long long WayByNumbers(unsigned long long frameId) const {
        const unsigned long long numbers = frameId > m_base.frameId ? frameId - m_base.frameId : 0;
        const bool isBelieved =
            m_period > 0 && numbers <= static_cast<unsigned long long>(kLongestSilence / m_period);
        return isBelieved ? static_cast<long long>(numbers) * m_period : 0;
    }

    long long Follow(unsigned long long frameId, long long stamp) const {
        return Continue(m_base.ticks + WayByNumbers(frameId), stamp, kFurthestBack);
    }

    bool IsExpected(const Point& point) const {
        const long long way = WayByNumbers(point.frameId);
        return std::abs(point.ticks - m_base.ticks - (way > 0 ? way : m_period)) <= m_tolerance;
    }

    void Accept(const Point& point) {
        m_latest = m_hasBase ? std::max(m_latest, point.ticks) : point.ticks;
        m_hasBase = true;
        m_base = point;
    }

    const long long m_anchor;
    const long long m_period;
    const long long m_tolerance;
    Point m_base = {0, 0};
    Point m_suspect = {0, 0};
    long long m_latest = 0;
    bool m_hasBase = false;
    bool m_hasSuspect = false;
    bool m_isLate = false;
};

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
    timeline.periodTicks = EstimatePeriod(records, order);
    Unwrapper unwrapper(anchor, timeline.periodTicks);
    for (const std::size_t record : order) {
        shots.push_back({unwrapper.Place(records[record]), record});
        timeline.outOfOrder += unwrapper.IsLate() ? 1 : 0;
    }
    std::stable_sort(shots.begin(), shots.end(),
                     [](const SyncShot& left, const SyncShot& right) { return left.ticks < right.ticks; });
    const auto isSame = [](const SyncShot& left, const SyncShot& right) { return left.ticks == right.ticks; };
    shots.erase(std::unique(shots.begin(), shots.end(), isSame), shots.end());
    timeline.duplicated = timeline.images - shots.size();
    if (timeline.periodTicks == 0) {
        timeline.periodTicks = MedianOf(GapsOf(shots));
    }
    timeline.lost = CountLost(records, timeline);
    return timeline;
}

}  // namespace Zevrin
