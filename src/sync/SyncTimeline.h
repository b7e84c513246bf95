#pragma once

#include <cstddef>
#include <vector>

#include "CycleTime.h"
#include "zevrin/SyncReport.h"

namespace Zevrin {

constexpr long long kSyncTicksPerCycle = kOffsetTicksPerCycle;
constexpr long long kSyncTicksPerSecond = kCyclesPerSecond * kSyncTicksPerCycle;

/// An image on the time axis of a run, which goes on where the bus clock begins anew.
struct SyncShot {
    long long ticks;
    std::size_t record;
};

/// The images of one camera by their time, each stamp once.
struct SyncTimeline {
    std::vector<SyncShot> shots;
    std::size_t images = 0;
    std::size_t outOfOrder = 0;
    std::size_t duplicated = 0;
    unsigned long long lost = 0;
    long long periodTicks = 0;  ///< median time from one frame number to the next; 0 when there is none
};

/// The stamp in ticks of the bus clock, which begins anew after 128 seconds.
long long TicksOf(const SyncRecord& record);

/// @param order   the camera's records as they arrived, by their index
/// @param anchor  a time of the run that the first image is within 64 seconds of
SyncTimeline MakeTimeline(const std::vector<SyncRecord>& records, const std::vector<std::size_t>& order,
                          long long anchor);

/// The middle one of some values; 0 when there are none.
long long MedianOf(std::vector<long long> values);

}  // namespace Zevrin
