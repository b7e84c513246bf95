#pragma once

#include "zevrin/Error.h"
#include "zevrin/Export.h"
#include "zevrin/PixelBuffer.h"

namespace Zevrin {

/// What pixels are to become.
struct ConversionTarget {
    PixelFormat pixelFormat = PIXEL_FORMAT_RGB8;   ///< what to convert to
    bool isBigEndian = false;                      ///< of samples wider than a byte
    BayerTileFormat bayerTileFormat = BAYER_NONE;  ///< of a raw mosaic that is made of a colour image
};

/// Converts pixels among all formats of the library but the signed ones.
///
/// Samples are scaled from full range to full range, so that white stays white: 0xABC of 12 bits becomes
/// 0xABCA of 16 and 0xAB of 8, and narrower samples that are widened come back unchanged. Colour and
/// brightness follow ITU-R BT.601 in full range, as the IIDC standard has them. A raw mosaic becomes a colour
/// image by bilinear interpolation, in which the outermost pixels repeat their neighbours.
/// @param pResult  its memory is used again when it suffices; not the buffer that is viewed
/// Errors: ERR_INVALID_PARAMETER (nothing to convert or to fill, fewer bytes than the size asks for, no order
/// of colour filters), ERR_NOT_SUPPORTED (a format; a raw mosaic without OpenCV, or smaller than two by two),
/// ERR_OUT_OF_MEMORY. `*pResult` is undefined then.
/// Threads: any, with results of their own.
ZEVRIN_API Error ConvertPixels(const PixelView& source, const ConversionTarget& target, PixelBuffer* pResult);

/// The same for the pixels of an image.
ZEVRIN_API Error ConvertImage(const Image& image, const ConversionTarget& target, PixelBuffer* pResult);

}  // namespace Zevrin
