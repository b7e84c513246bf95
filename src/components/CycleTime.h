#pragma once

#include "zevrin/TimeStamp.h"

namespace Zevrin {

// The CYCLE_TIME word of IEEE 1394: 7 bits of seconds, 13 bits of cycles, 12 bits of offset.
constexpr unsigned int kCyclesPerSecond = 8000;
constexpr unsigned int kCycleSecondsWrap = 128;
constexpr unsigned int kOffsetTicksPerCycle = 3072;

/// The host's UTC time, with the cycle fields 0.
TimeStamp GetHostTime();

/// Puts the fields of a CYCLE_TIME word into a time stamp; its other fields stay.
void SetCycleTime(unsigned int cycleTimeWord, TimeStamp* pTimeStamp);

/// The CYCLE_TIME word of a clock that has run for `nanoseconds`.
unsigned int MakeCycleTime(unsigned long long nanoseconds);

}  // namespace Zevrin
