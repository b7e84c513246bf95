#pragma once

#include <cstddef>

#include "zevrin/Error.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

/// A raw mosaic and the colour image that is made of it: samples of 8 or 16 bits in the host's order.
struct MosaicWork {
    unsigned int width;   ///< pixels
    unsigned int height;  ///< pixels
    unsigned int bits;    ///< 8 or 16
    BayerTileFormat tile;
    const void* mosaic;
    std::size_t mosaicStride;  ///< bytes
    void* colors;
    std::size_t colorStride;  ///< bytes
    bool isBgr;               ///< blue first
};

/// Bilinear interpolation.
/// Errors: ERR_INVALID_PARAMETER (no order of colour filters), ERR_NOT_SUPPORTED (too small or too large; no
/// OpenCV), ERR_OUT_OF_MEMORY, ERR_FAILED.
Error Demosaic(const MosaicWork& work);

}  // namespace Zevrin
