#include "CycleTime.h"

#include <ctime>

namespace Zevrin {

namespace {

constexpr unsigned int kSecondsShift = 25;
constexpr unsigned int kCyclesShift = 12;
constexpr unsigned int kCyclesMask = 0x1FFF;
constexpr unsigned int kOffsetMask = 0xFFF;
constexpr unsigned long long kNanosecondsPerSecond = 1000000000ULL;
constexpr unsigned long long kNanosecondsPerCycle = kNanosecondsPerSecond / kCyclesPerSecond;

}  // namespace

TimeStamp GetHostTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    TimeStamp stamp;
    stamp.seconds = now.tv_sec;
    stamp.microSeconds = static_cast<unsigned int>(now.tv_nsec / 1000);
    return stamp;
}

void SetCycleTime(unsigned int cycleTimeWord, TimeStamp* pTimeStamp) {
    pTimeStamp->cycleSeconds = cycleTimeWord >> kSecondsShift;
    pTimeStamp->cycleCount = cycleTimeWord >> kCyclesShift & kCyclesMask;
    pTimeStamp->cycleOffset = cycleTimeWord & kOffsetMask;
}

unsigned int MakeCycleTime(unsigned long long nanoseconds) {
    const unsigned long long seconds = nanoseconds / kNanosecondsPerSecond % kCycleSecondsWrap;
    const unsigned long long withinSecond = nanoseconds % kNanosecondsPerSecond;
    const unsigned long long cycles = withinSecond / kNanosecondsPerCycle;
    const unsigned long long offset =
        withinSecond % kNanosecondsPerCycle * kOffsetTicksPerCycle / kNanosecondsPerCycle;
    return static_cast<unsigned int>(seconds << kSecondsShift | cycles << kCyclesShift | offset);
}

}  // namespace Zevrin
