#include "zevrin/ImageFile.h"

#include <algorithm>
#include <cctype>

#include "Failure.h"
#include "FormatText.h"
#include "Image.h"
#include "ImageWriters.h"
#include "PixelRows.h"
#include "zevrin/ImageConversion.h"

namespace Zevrin {

namespace {

/// What becomes of samples of 10 and 12 bits.
enum class Depth {
    kScaled,  ///< 16 bits, in full range
    kKept,    ///< the values stay
    kBytes    ///< nothing is looked at
};

struct FileKind {
    const char* suffix;
    Error (*pWrite)(const Picture& picture, const std::string& path);
    Depth depth;
    bool isBigEndian;
};

constexpr FileKind kFileKinds[] = {
    {".png", WritePngFile, Depth::kScaled, true},
    {".tif", WriteTiffFile, Depth::kScaled, kHostIsBigEndian},
    {".tiff", WriteTiffFile, Depth::kScaled, kHostIsBigEndian},
    {".pgm", WritePgmFile, Depth::kKept, true},
    {".ppm", WritePpmFile, Depth::kKept, true},
    {".npy", WriteArrayFile, Depth::kKept, false},
    {".raw", WriteRawFile, Depth::kBytes, false},
};

/// What a format becomes in a file; formats that are not here stay.
struct FileFormat {
    PixelFormat format;
    PixelFormat scaled;
    PixelFormat kept;
};

constexpr FileFormat kFileFormats[] = {
    {PIXEL_FORMAT_BGR8, PIXEL_FORMAT_RGB8, PIXEL_FORMAT_RGB8},
    {PIXEL_FORMAT_YUV411, PIXEL_FORMAT_RGB8, PIXEL_FORMAT_RGB8},
    {PIXEL_FORMAT_YUV422, PIXEL_FORMAT_RGB8, PIXEL_FORMAT_RGB8},
    {PIXEL_FORMAT_YUV444, PIXEL_FORMAT_RGB8, PIXEL_FORMAT_RGB8},
    {PIXEL_FORMAT_MONO10, PIXEL_FORMAT_MONO16, PIXEL_FORMAT_MONO10},
    {PIXEL_FORMAT_MONO12, PIXEL_FORMAT_MONO16, PIXEL_FORMAT_MONO12},
    {PIXEL_FORMAT_MONO10_PACKED, PIXEL_FORMAT_MONO16, PIXEL_FORMAT_MONO10},
    {PIXEL_FORMAT_MONO12_PACKED, PIXEL_FORMAT_MONO16, PIXEL_FORMAT_MONO12},
};

const FileKind* FindFileKind(const std::string& path) {
    const std::string name = path.substr(path.find_last_of('/') + 1);
    std::string suffix = name.substr(std::min(name.rfind('.'), name.size()));
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    for (const FileKind& kind : kFileKinds) {
        if (suffix == kind.suffix) {
            return &kind;
        }
    }
    return nullptr;
}

Error UnknownSuffix(const std::string& path) {
    std::string list;
    for (const std::string& suffix : GetImageFileSuffixes()) {
        list += (list.empty() ? "" : ", ") + suffix;
    }
    return Failure(ERR_NOT_SUPPORTED, "The file \"%s\" has none of the suffixes that can be written: %s.",
                   Printable(path).c_str(), list.c_str());
}

PixelFormat ChooseFormat(PixelFormat format, Depth depth) {
    for (const FileFormat& row : kFileFormats) {
        if (row.format == format) {
            return depth == Depth::kScaled ? row.scaled : row.kept;
        }
    }
    return format;
}

/// Brings the pixels into a form that the file can hold; those that are in it already are not copied.
Error Prepare(const FileKind& kind, PixelView source, PixelBuffer* pBuffer, Picture* pPicture) {
    const Error error = CheckView(source);
    if (error != ERR_OK) {
        return error;
    }
    const unsigned int bits = FindRowLayout(source.pixelFormat)->bits;
    pPicture->significantBits = source.significantBits != 0 ? source.significantBits : bits;
    if (kind.depth == Depth::kKept) {
        source.significantBits = 0;
    }
    const PixelFormat format = ChooseFormat(source.pixelFormat, kind.depth);
    const bool isScaled = source.significantBits != 0 && source.significantBits != bits;
    if (format == source.pixelFormat && source.stride != 0 && !isScaled &&
        (bits == 8 || source.isBigEndian == kind.isBigEndian)) {
        pPicture->pixels = source;
        return Error();
    }
    const Error converted = ConvertPixels(source, {format, kind.isBigEndian, BAYER_NONE}, pBuffer);
    pPicture->pixels = pBuffer->View();
    return converted;
}

}  // namespace

Error SavePixels(const PixelView& pixels, const std::string& path, const ImageMetadata& metadata) {
    const FileKind* const pKind = FindFileKind(path);
    if (pixels.data == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "There is no image to be written to a file.");
    }
    if (pKind == nullptr) {
        return UnknownSuffix(path);
    }
    PixelBuffer buffer;
    Picture picture;
    picture.pixels = pixels;
    picture.facts = DescribePicture(pixels, metadata);
    const Error error = pKind->depth == Depth::kBytes ? Error() : Prepare(*pKind, pixels, &buffer, &picture);
    return error == ERR_OK ? pKind->pWrite(picture, path) : error;
}

Error SaveImage(const Image& image, const std::string& path, const ImageMetadata& metadata) {
    ImageMetadata whole = metadata;
    if (!whole.frameId) {
        whole.frameId = image.GetFrameId();
    }
    if (!whole.timeStamp) {
        whole.timeStamp = image.GetTimeStamp();
    }
    return SavePixels(ViewOf(image), path, whole);
}

std::vector<std::string> GetImageFileSuffixes() {
    std::vector<std::string> suffixes;
    for (const FileKind& kind : kFileKinds) {
#ifndef ZEVRIN_WITH_PNG
        if (kind.pWrite == WritePngFile) {
            continue;
        }
#endif
#ifndef ZEVRIN_WITH_TIFF
        if (kind.pWrite == WriteTiffFile) {
            continue;
        }
#endif
        suffixes.emplace_back(kind.suffix);
    }
    return suffixes;
}

}  // namespace Zevrin
