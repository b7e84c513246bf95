#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zevrin/Error.h"
#include "zevrin/Export.h"
#include "zevrin/PixelBuffer.h"
#include "zevrin/TimeStamp.h"

namespace Zevrin {

class Image;

/// Where a picture comes from, so that its file can be traced. What is not known is left out of the file.
struct ImageMetadata {
    std::optional<unsigned int> serialNumber;   ///< of the camera
    std::optional<unsigned long long> frameId;  ///< `SaveImage`: the image's own unless set
    std::optional<TimeStamp> timeStamp;         ///< `SaveImage`: the image's own unless set
    std::optional<double> exposureSeconds;      ///< nothing: not known
    std::optional<double> gainDb;               ///< nothing: not known
};

/// Whether a time stamp tells the time of the bus. The cycle fields of an image that nobody stamped are all
/// 0, which a bus clock is once in 128 seconds, for 41 nanoseconds. Files leave such fields out. Errors:
/// none. Threads: any.
ZEVRIN_API bool HasBusTime(const TimeStamp& stamp);

/// Writes an image to a file, in the format that the suffix of `path` names, with the image's frame id and
/// time stamp and whatever else `metadata` tells. The file appears under its name when it is whole; a file of
/// that name is replaced.
///
///   .png         8 or 16 bits a sample, grey or colour; metadata as text
///   .tif, .tiff  the same; metadata as JSON in the tag ImageDescription
///   .pgm, .ppm   grey, colour; metadata as comments
///   .npy         an array of rows, columns (and colours) with the samples as they are; metadata beside it
///   .raw         the bytes as they came; metadata, size and format beside it
///
/// "Beside it" is a JSON file of the same name with ".json" appended. A raw mosaic is written as it is. PNG
/// and TIFF files hold 10 and 12 bits as 16, scaled; PGM and NumPy files keep their values. Errors:
/// ERR_INVALID_PARAMETER (no image, or one that misses rows), ERR_NOT_SUPPORTED (the suffix, the pixel format
/// in such a file, a library built without what the file needs), ERR_FILE_FAILED (names the file and the
/// reason; nothing is left behind), ERR_OUT_OF_MEMORY.
/// Threads: any, for different files.
ZEVRIN_API Error SaveImage(const Image& image, const std::string& path,
                           const ImageMetadata& metadata = ImageMetadata());

/// The same for pixels that are in no image, such as converted ones. Frame id and time stamp are
/// `metadata`'s.
ZEVRIN_API Error SavePixels(const PixelView& pixels, const std::string& path,
                            const ImageMetadata& metadata = ImageMetadata());

/// The suffixes that this library can write, such as ".png".
/// Errors: none.
/// Threads: any.
ZEVRIN_API std::vector<std::string> GetImageFileSuffixes();

}  // namespace Zevrin
