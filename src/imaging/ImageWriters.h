#pragma once

#include <string>

#include "PictureFacts.h"
#include "zevrin/Error.h"
#include "zevrin/PixelBuffer.h"

namespace Zevrin {

/// Pixels in a layout that the file can hold, and what is to be known of them.
struct Picture {
    PixelView pixels;
    unsigned int significantBits = 0;  ///< of a sample, before it was scaled; 0: not known
    PictureFacts facts;
};

// One function for each kind of file. It appears under its name when it is whole; ERR_FILE_FAILED leaves
// nothing behind. ERR_NOT_SUPPORTED names what the library was built without.

/// Grey or colour, 8 or 16 bits a sample, big-endian.
Error WritePngFile(const Picture& picture, const std::string& path);

/// The same in the host's byte order.
Error WriteTiffFile(const Picture& picture, const std::string& path);

/// Netpbm's binary formats for grey and for colour images: 8 to 16 bits a sample, big-endian.
/// Errors: ERR_NOT_SUPPORTED (the other kind of image).
Error WritePgmFile(const Picture& picture, const std::string& path);
Error WritePpmFile(const Picture& picture, const std::string& path);

/// NumPy's format, with the facts beside it.
Error WriteArrayFile(const Picture& picture, const std::string& path);

/// The bytes as they are, with the facts beside them.
Error WriteRawFile(const Picture& picture, const std::string& path);

}  // namespace Zevrin
