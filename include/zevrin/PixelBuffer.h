#pragma once

#include <cstddef>
#include <vector>

#include "zevrin/Export.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

class Image;

/// Pixels that lie somewhere in memory, as a conversion or a writer reads them. Nothing is owned: the bytes
/// have to outlive the view.
struct PixelView {
    const unsigned char* data = nullptr;  ///< first byte of the first row
    std::size_t size = 0;                 ///< bytes that are valid from `data` on
    unsigned int width = 0;               ///< pixels
    unsigned int height = 0;              ///< pixels
    /// Bytes from one row to the next; 0: rows follow each other to the bit, so that one of an odd width in a
    /// packed format begins within a byte.
    std::size_t stride = 0;
    PixelFormat pixelFormat = PIXEL_FORMAT_UNKNOWN;  ///< how they are laid out
    BayerTileFormat bayerTileFormat = BAYER_NONE;    ///< of Raw8 and Raw16
    bool isBigEndian = false;                        ///< of samples wider than a byte
    /// Of 16-bit samples, 8 to 16, counted from the least significant end; 0: all that the format has.
    /// Cameras that digitise 10 or 12 bits may send them as Raw16.
    unsigned int significantBits = 0;
};

/// Pixels with memory of their own: what a conversion gives. Rows begin with a byte.
struct ZEVRIN_API PixelBuffer {
    std::vector<unsigned char> bytes;                ///< the rows
    unsigned int width = 0;                          ///< pixels
    unsigned int height = 0;                         ///< pixels
    std::size_t stride = 0;                          ///< bytes from one row to the next
    PixelFormat pixelFormat = PIXEL_FORMAT_UNKNOWN;  ///< how they are laid out
    BayerTileFormat bayerTileFormat = BAYER_NONE;    ///< of Raw8 and Raw16
    bool isBigEndian = false;                        ///< of samples wider than a byte

    /// Valid until the buffer is changed or gone.
    PixelView View() const;
};

/// The pixels of an image, valid for as long as the image holds its buffer; an empty view of an empty image.
/// Whether packed rows of an odd width follow each other to the bit is told by the size of the image.
/// Errors: none.
/// Threads: as `Image`.
ZEVRIN_API PixelView ViewOf(const Image& image);

}  // namespace Zevrin
