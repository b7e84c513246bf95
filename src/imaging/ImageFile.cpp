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

/// Whether the rows that are announced lie within the bytes that are there.
Error CheckSize(const PixelView& view) {
    const std::size_t rowSize = (std::size_t{view.width} * GetBitsPerPixel(view.pixelFormat)) / 8;
    const std::size_t height = view.height;
    // Divided instead of multiplied: the numbers come from outside.
    if (rowSize == 0 || height == 0 || view.stride < rowSize || view.size < rowSize ||
        (view.size - rowSize) / view.stride < height - 1) {
        return Failure(ERR_INVALID_PARAMETER,
                       "The image holds %zu bytes, which are not %zu rows of %zu bytes, %zu bytes apart.",
                       view.size, height, rowSize, view.stride);
    }
    return Error();
}

}  // namespace

PixelView ViewOf(const Image& image) {
    PixelView view;
    view.data = image.GetData();
    view.size = image.GetDataSize();
    view.width = image.GetWidth();
    view.height = image.GetHeight();
    view.stride = image.GetStride();
    view.pixelFormat = image.GetPixelFormat();
    view.bayerTileFormat = image.GetBayerTileFormat();
    view.isBigEndian = image.IsBigEndian();
    return view;
}

Error SavePixels(const PixelView& view, const std::string& path) {
    if (view.data == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "There is no image to be written to a file.");
    }
    const WritableFormat* const pFormat = FindWritableFormat(view.pixelFormat);
    if (pFormat == nullptr) {
        return Failure(
            ERR_NOT_SUPPORTED,
            "Images in %s cannot be written to PNG files; Mono8, Raw8, Mono16, Raw16, RGB8 and BGR8 "
            "can.",
            GetPixelFormatName(view.pixelFormat));
    }
    const Error error = CheckSize(view);
    if (error != ERR_OK) {
        return error;
    }
    PngPixels pixels;
    pixels.data = view.data;
    pixels.width = view.width;
    pixels.height = view.height;
    pixels.stride = view.stride;
    pixels.isColor = pFormat->isColor;
    pixels.bitsPerSample = pFormat->bitsPerSample;
    pixels.isBgr = pFormat->isBgr;
    pixels.isLittleEndian = !view.isBigEndian;
    return WritePngFile(pixels, path);
}

Error SaveImage(const Image& image, const std::string& path) {
    return SavePixels(ViewOf(image), path);
}

}  // namespace Zevrin
