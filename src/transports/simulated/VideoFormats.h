#pragma once

#include <cstddef>

#include "StandardModes.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

constexpr unsigned int kMaxBytesPerPacket = 32768;  ///< of the bus, each cycle
constexpr unsigned int kPacketUnit = 4;             ///< bytes, of which packets are multiples
constexpr double kPacketsPerSecond = 8000;

/// Null when the standard has no such mode.
const StandardMode* FindStandardMode(unsigned int format, unsigned int mode);

/// Whether a sensor of this size and kind offers the mode.
bool IsModePresent(const StandardMode& mode, unsigned int sensorWidth, unsigned int sensorHeight,
                   bool isColor);

/// Frames per second of the standard's rate 0 to 7.
double GetStandardFrameRate(unsigned int rate);
bool IsRatePresent(const StandardMode& mode, unsigned int rate);

/// Whether such a camera sends this pixel format in format 7.
bool IsCodingPresent(PixelFormat format, bool isColor);

/// Raw mosaic of a colour sensor.
bool IsRaw(PixelFormat format);

unsigned int GetSampleDepth(PixelFormat format);                                        ///< bits
std::size_t GetImageSize(unsigned int width, unsigned int height, PixelFormat format);  ///< bytes

}  // namespace Zevrin
