#pragma once

#include "zevrin/PixelFormat.h"

namespace Zevrin {

/// The standard's image formats are 0 to 2, with fixed sizes; format 7 has a region of one's own.
constexpr unsigned int kScalableImageFormat = 7;

/// The standard's frame rates are 0 to 7.
constexpr unsigned int kStandardFrameRateCount = 8;

/// What a standard mode is, and whether the camera has it. `format` and `mode` choose it; the rest is filled
/// in.
struct VideoModeInfo {
    unsigned int format = 0;                         ///< 0 to 2
    unsigned int mode = 0;                           ///< 0 to 7
    bool present = false;                            ///< the camera has it
    unsigned int width = 0;                          ///< pixels
    unsigned int height = 0;                         ///< pixels
    PixelFormat pixelFormat = PIXEL_FORMAT_UNKNOWN;  ///< how pixels are laid out
    unsigned int frameRateMask =
        0;  ///< bit n: frame rate n is there; 1.875 frames per second times 2 to the n
    unsigned int reserved[8] = {};  ///< zero; for later versions
};

/// How the camera sends images: a standard format, its mode and frame rate, or a mode of format 7.
struct VideoModeSetting {
    unsigned int format = 0;     ///< 0 to 2; 7 is told, and set by `Format7Settings`
    unsigned int mode = 0;       ///< 0 to 7
    unsigned int frameRate = 0;  ///< 0 to 7, as in `VideoModeInfo::frameRateMask`; means nothing in format 7
    unsigned int reserved[8] = {};  ///< zero; for later versions
};

/// What a mode of format 7 can do. `mode` chooses it; the rest is filled in.
struct Format7Info {
    unsigned int mode = 0;             ///< 0 to 7
    bool present = false;              ///< the camera has it
    unsigned int maxWidth = 0;         ///< pixels
    unsigned int maxHeight = 0;        ///< pixels
    unsigned int unitWidth = 0;        ///< pixels; widths are multiples of it
    unsigned int unitHeight = 0;       ///< pixels
    unsigned int unitLeft = 0;         ///< pixels; left edges are multiples of it
    unsigned int unitTop = 0;          ///< pixels
    unsigned int pixelFormatMask = 0;  ///< bit n: the `PixelFormat` of number n is there
    unsigned int unitPacketSize =
        0;  ///< bytes, the smallest packet; packets are multiples of it; 0: no choice
    unsigned int maxPacketSize = 0;  ///< bytes, with the mode's present region
    unsigned int reserved[8] = {};   ///< zero; for later versions
};

/// A region of the sensor and how its pixels are sent.
struct Format7Settings {
    unsigned int mode = 0;                         ///< 0 to 7
    unsigned int left = 0;                         ///< pixels
    unsigned int top = 0;                          ///< pixels
    unsigned int width = 0;                        ///< pixels
    unsigned int height = 0;                       ///< pixels
    PixelFormat pixelFormat = PIXEL_FORMAT_MONO8;  ///< how pixels are laid out
    unsigned int packetSize = 0;                   ///< bytes; set: 0 takes the one that the camera recommends
    unsigned int reserved[8] = {};                 ///< zero; for later versions
};

}  // namespace Zevrin
