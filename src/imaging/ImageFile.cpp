#include "zevrin/ImageFile.h"

#include <cstddef>

#include "Failure.h"
#include "Image.h"
#include "PngFile.h"

namespace Zevrin {

namespace {

struct WritableFormat {
    PixelFormat format;
    bool isColor;
    int bitsPerSample;
    bool isBgr;
};

constexpr WritableFormat kWritableFormats[] = {
    {PIXEL_FORMAT_MONO8, false, 8, false},   {PIXEL_FORMAT_RAW8, false, 8, false},
    {PIXEL_FORMAT_MONO16, false, 16, false}, {PIXEL_FORMAT_RAW16, false, 16, false},
    {PIXEL_FORMAT_RGB8, true, 8, false},     {PIXEL_FORMAT_BGR8, true, 8, true},
};

const WritableFormat* FindWritableFormat(PixelFormat format) {
    for (const WritableFormat& writable : kWritableFormats) {
        if (writable.format == format) {
            return &writable;
        }
    }
    return nullptr;
}

/// Whether the rows that the image announces lie within the bytes that it holds.
Error CheckSize(const Image& image) {
    const std::size_t rowSize = (std::size_t{image.GetWidth()} * GetBitsPerPixel(image.GetPixelFormat())) / 8;
    const std::size_t stride = image.GetStride();
    const std::size_t height = image.GetHeight();
    const std::size_t size = image.GetDataSize();
    // Divided instead of multiplied: the numbers come from outside.
    if (rowSize == 0 || height == 0 || stride < rowSize || size < rowSize ||
        (size - rowSize) / stride < height - 1) {
        return Failure(ERR_INVALID_PARAMETER,
                       "The image holds %zu bytes, which are not %zu rows of %zu bytes, %zu bytes apart.",
                       size, height, rowSize, stride);
    }
    return Error();
}

}  // namespace

Error SaveImage(const Image& image, const std::string& path) {
    if (!image.HasData()) {
        return Failure(ERR_INVALID_PARAMETER, "There is no image to be written to a file.");
    }
    const WritableFormat* const pFormat = FindWritableFormat(image.GetPixelFormat());
    if (pFormat == nullptr) {
        return Failure(
            ERR_NOT_SUPPORTED,
            "Images in %s cannot be written to PNG files; Mono8, Raw8, Mono16, Raw16, RGB8 and BGR8 "
            "can.",
            GetPixelFormatName(image.GetPixelFormat()));
    }
    const Error error = CheckSize(image);
    if (error != ERR_OK) {
        return error;
    }
    PngPixels pixels;
    pixels.data = image.GetData();
    pixels.width = image.GetWidth();
    pixels.height = image.GetHeight();
    pixels.stride = image.GetStride();
    pixels.isColor = pFormat->isColor;
    pixels.bitsPerSample = pFormat->bitsPerSample;
    pixels.isBgr = pFormat->isBgr;
    pixels.isLittleEndian = !image.IsBigEndian();
    return WritePngFile(pixels, path);
}

}  // namespace Zevrin
