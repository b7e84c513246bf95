#pragma once

#include <cstddef>
#include <string>

#include "zevrin/Error.h"

namespace Zevrin {

/// Pixels as PNG can hold them: one or three samples of 8 or 16 bits each.
struct PngPixels {
    const unsigned char* data = nullptr;
    unsigned int width = 0;   ///< pixels
    unsigned int height = 0;  ///< pixels
    std::size_t stride = 0;   ///< bytes from one row to the next
    bool isColor = false;     ///< three samples a pixel, else one
    int bitsPerSample = 8;    ///< 8 or 16
    bool isBgr = false;       ///< blue first
    bool isLittleEndian = false;
};

/// Writes a PNG file that appears under its name when it is whole.
/// Errors: ERR_FILE_FAILED; nothing is left behind.
Error WritePngFile(const PngPixels& pixels, const std::string& path);

}  // namespace Zevrin
