#pragma once

#include "zevrin/Export.h"

namespace Zevrin {

/// How the pixels of an image are laid out. 16-bit samples are big-endian from cameras that follow the
/// IIDC layout; `Image::IsBigEndian` tells.
enum PixelFormat : int {
    PIXEL_FORMAT_UNKNOWN = 0,
    PIXEL_FORMAT_MONO8,
    PIXEL_FORMAT_YUV411,
    PIXEL_FORMAT_YUV422,
    PIXEL_FORMAT_YUV444,
    PIXEL_FORMAT_RGB8,
    PIXEL_FORMAT_MONO16,
    PIXEL_FORMAT_RGB16,
    PIXEL_FORMAT_SIGNED_MONO16,
    PIXEL_FORMAT_SIGNED_RGB16,
    PIXEL_FORMAT_RAW8,
    PIXEL_FORMAT_RAW16,
    PIXEL_FORMAT_BGR8,
    PIXEL_FORMAT_MONO10,
    PIXEL_FORMAT_MONO12,
    PIXEL_FORMAT_MONO10_PACKED,
    PIXEL_FORMAT_MONO12_PACKED
};

/// The format's name, such as "Mono8"; "unknown" for a number that is none of them.
ZEVRIN_API const char* GetPixelFormatName(PixelFormat format) noexcept;

/// Bits that one pixel takes in memory, on average over an image; 0 for an unknown format.
ZEVRIN_API unsigned int GetBitsPerPixel(PixelFormat format) noexcept;

/// The order of the colour filters over the first two pixels of the first two rows of a raw image.
enum BayerTileFormat : int { BAYER_NONE = 0, BAYER_RGGB, BAYER_GRBG, BAYER_GBRG, BAYER_BGGR };

}  // namespace Zevrin
