#pragma once

#include <cstddef>

#include "zevrin/PixelFormat.h"

namespace Zevrin {

/// A mode of the standard's fixed formats 0 to 2.
struct VideoMode {
    unsigned int format;
    unsigned int mode;
    unsigned int width;
    unsigned int height;
    PixelFormat pixelFormat;
};

constexpr unsigned int kScalableFormat = 7;
constexpr unsigned int kFrameRateCount = 8;
constexpr unsigned int kMaxBytesPerPacket = 32768;  ///< of the bus, each cycle
constexpr std::size_t kVideoModeCount = 23;
extern const VideoMode kVideoModes[kVideoModeCount];

/// Null when the standard has no such mode.
const VideoMode* FindVideoMode(unsigned int format, unsigned int mode);

/// Whether a sensor of this size and kind offers the mode.
bool IsModePresent(const VideoMode& mode, unsigned int sensorWidth, unsigned int sensorHeight, bool isColor);

/// Frames per second of the standard's rate 0 to 7.
double GetStandardFrameRate(unsigned int rate);
bool IsRatePresent(const VideoMode& mode, unsigned int rate);

/// The IIDC number of a pixel format (COLOR_CODING_ID), and back.
unsigned int GetColorCoding(PixelFormat format);
PixelFormat GetPixelFormatOfCoding(unsigned int coding);

/// Whether such a camera sends this pixel format in format 7.
bool IsCodingPresent(PixelFormat format, bool isColor);

/// Bits of one sample.
unsigned int GetSampleDepth(PixelFormat format);

std::size_t GetImageSize(unsigned int width, unsigned int height, PixelFormat format);

}  // namespace Zevrin
