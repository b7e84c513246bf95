#pragma once

#include "HardwareInterface.h"
#include "zevrin/Error.h"

namespace Zevrin {

class GenicamDevice;

/// What an image takes with the device's present settings. What the device says is believed within bounds.
/// Errors: ERR_FEATURE_ABSENT, ERR_VALUE_OUT_OF_RANGE, the device's.
Error ReadStreamFormat(GenicamDevice& device, StreamFormat* pFormat);

/// Adds what only an opened device tells; a feature that the device lacks leaves its field alone.
void ReadIdentity(GenicamDevice& device, CameraIdentity* pIdentity);

/// @param frequency  ticks per second, 1 to 10^10
unsigned long long ToNanoseconds(unsigned long long ticks, unsigned long long frequency);

/// Ticks per second of a GigE Vision device's clock; 0: it has none.
/// Errors: the device's.
Error ReadTickFrequency(GenicamDevice& device, unsigned long long* pFrequency);

/// Nanoseconds of the device's own clock.
/// Errors: ERR_FEATURE_ABSENT (it has none that can be read, or it stands still), the device's.
Error ReadClock(GenicamDevice& device, unsigned long long* pNanoseconds);

}  // namespace Zevrin
