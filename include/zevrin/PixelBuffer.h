#pragma once

#include <cstddef>

#include "zevrin/Export.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

class Image;

/// Pixels that lie somewhere in memory, as a writer reads them. Nothing is owned: the bytes have to outlive
/// the view.
struct PixelView {
    const unsigned char* data = nullptr;             ///< first byte of the first row
    std::size_t size = 0;                            ///< bytes that are valid from `data` on
    unsigned int width = 0;                          ///< pixels
    unsigned int height = 0;                         ///< pixels
    std::size_t stride = 0;                          ///< bytes from one row to the next
    PixelFormat pixelFormat = PIXEL_FORMAT_UNKNOWN;  ///< how they are laid out
    BayerTileFormat bayerTileFormat = BAYER_NONE;    ///< of Raw8 and Raw16
    bool isBigEndian = false;                        ///< of samples wider than a byte
};

/// The pixels of an image, valid for as long as the image holds its buffer; an empty view of an empty image.
/// Errors: none.
/// Threads: as `Image`.
ZEVRIN_API PixelView ViewOf(const Image& image);

}  // namespace Zevrin
