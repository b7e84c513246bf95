#pragma once

namespace Zevrin {

/// A bus time. The cycle fields follow the CYCLE_TIME register of IEEE 1394.
struct TimeStamp {
    long long seconds = 0;          ///< UTC seconds since 1970 when the host took or received it
    unsigned int microSeconds = 0;  ///< 0 to 999999, part of `seconds`
    unsigned int cycleSeconds = 0;  ///< 0 to 127, seconds of the bus cycle clock
    unsigned int cycleCount = 0;    ///< 0 to 7999, cycles of 125 µs
    unsigned int cycleOffset = 0;   ///< 0 to 3071, ticks of 24.576 MHz within a cycle
    unsigned int reserved[8] = {};  ///< zero; for later versions
};

}  // namespace Zevrin
