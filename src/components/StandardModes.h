#pragma once

#include "zevrin/ImageFormat.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

/// A mode of the standard's formats of fixed size.
struct StandardMode {
    unsigned int format;
    unsigned int mode;
    unsigned int width;   ///< pixels
    unsigned int height;  ///< pixels
    PixelFormat pixelFormat;
};

constexpr unsigned int kMaxStandardFormat = 2;
constexpr unsigned int kMaxVideoMode = 7;

constexpr StandardMode kStandardModes[] = {
    {0, 0, 160, 120, PIXEL_FORMAT_YUV444},   {0, 1, 320, 240, PIXEL_FORMAT_YUV422},
    {0, 2, 640, 480, PIXEL_FORMAT_YUV411},   {0, 3, 640, 480, PIXEL_FORMAT_YUV422},
    {0, 4, 640, 480, PIXEL_FORMAT_RGB8},     {0, 5, 640, 480, PIXEL_FORMAT_MONO8},
    {0, 6, 640, 480, PIXEL_FORMAT_MONO16},   {1, 0, 800, 600, PIXEL_FORMAT_YUV422},
    {1, 1, 800, 600, PIXEL_FORMAT_RGB8},     {1, 2, 800, 600, PIXEL_FORMAT_MONO8},
    {1, 3, 1024, 768, PIXEL_FORMAT_YUV422},  {1, 4, 1024, 768, PIXEL_FORMAT_RGB8},
    {1, 5, 1024, 768, PIXEL_FORMAT_MONO8},   {1, 6, 800, 600, PIXEL_FORMAT_MONO16},
    {1, 7, 1024, 768, PIXEL_FORMAT_MONO16},  {2, 0, 1280, 960, PIXEL_FORMAT_YUV422},
    {2, 1, 1280, 960, PIXEL_FORMAT_RGB8},    {2, 2, 1280, 960, PIXEL_FORMAT_MONO8},
    {2, 3, 1600, 1200, PIXEL_FORMAT_YUV422}, {2, 4, 1600, 1200, PIXEL_FORMAT_RGB8},
    {2, 5, 1600, 1200, PIXEL_FORMAT_MONO8},  {2, 6, 1280, 960, PIXEL_FORMAT_MONO16},
    {2, 7, 1600, 1200, PIXEL_FORMAT_MONO16},
};

// COLOR_CODING_ID n is the n-th pixel format after the unknown one.
static_assert(PIXEL_FORMAT_MONO8 == 1 && PIXEL_FORMAT_RGB8 == 5 && PIXEL_FORMAT_MONO16 == 6 &&
                  PIXEL_FORMAT_RAW8 == 10 && PIXEL_FORMAT_RAW16 == 11,
              "the pixel formats stand in the order of the standard's colour codings");

constexpr PixelFormat ToPixelFormat(unsigned int colorCoding) {
    return colorCoding < PIXEL_FORMAT_RAW16 ? static_cast<PixelFormat>(colorCoding + 1)
                                            : PIXEL_FORMAT_UNKNOWN;
}

/// Not for PIXEL_FORMAT_UNKNOWN.
constexpr unsigned int ToColorCoding(PixelFormat format) {
    return static_cast<unsigned int>(format) - 1;
}

}  // namespace Zevrin
