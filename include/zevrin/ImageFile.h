#pragma once

#include <string>

#include "zevrin/Error.h"
#include "zevrin/Export.h"
#include "zevrin/PixelBuffer.h"

namespace Zevrin {

class Image;

/// Writes an image to a PNG file: Mono8 and Raw8 with 8 bits, Mono16 and Raw16 with 16 bits a sample, RGB8
/// and BGR8 in colour. The file appears under its name when it is whole; a file of that name is replaced.
/// Errors: ERR_INVALID_PARAMETER (no image, or one that misses rows), ERR_NOT_SUPPORTED (another pixel
/// format, or a library built without PNG), ERR_FILE_FAILED (names the file and the reason; nothing is left
/// behind).
/// Threads: any, for different files.
ZEVRIN_API Error SaveImage(const Image& image, const std::string& path);

/// The same for pixels that are in no image, such as a copy of one.
ZEVRIN_API Error SavePixels(const PixelView& pixels, const std::string& path);

}  // namespace Zevrin
