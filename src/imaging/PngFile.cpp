#include "PngFile.h"

#ifdef ZEVRIN_WITH_PNG

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>

#include "WholeFile.h"

namespace Zevrin {

namespace {

/// Grabbing keeps pace with cameras at this level; the files are some per cent larger than they could be.
constexpr int kCompressionLevel = 1;

/// libpng's part of the work. It leaves by longjmp, so nothing here may need a destructor.
struct PngWriter {
    png_structp pPng = nullptr;
    png_infop pInfo = nullptr;
    std::FILE* pStream = nullptr;
    int errorNumber = 0;  ///< of the write that failed; 0 when libpng itself found fault
    char message[160] = "";
};

extern "C" {

[[noreturn]] static void OnPngError(png_structp pPng, png_const_charp message) {
    auto* const pWriter = static_cast<PngWriter*>(png_get_error_ptr(pPng));
    std::snprintf(pWriter->message, sizeof pWriter->message, "%s", message);
    png_longjmp(pPng, 1);
}

static void OnPngWarning(png_structp, png_const_charp) {}

static void OnPngWrite(png_structp pPng, png_bytep data, png_size_t length) {
    auto* const pWriter = static_cast<PngWriter*>(png_get_io_ptr(pPng));
    if (std::fwrite(data, 1, length, pWriter->pStream) != length) {
        pWriter->errorNumber = errno;
        png_error(pPng, "write error");
    }
}

static void OnPngFlush(png_structp) {}

}  // extern "C"

void WriteRows(PngWriter* pWriter, const PngPixels& pixels) {
    png_structp pPng = pWriter->pPng;
    png_set_write_fn(pPng, pWriter, OnPngWrite, OnPngFlush);
    png_set_compression_level(pPng, kCompressionLevel);
    png_set_filter(pPng, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_set_IHDR(pPng, pWriter->pInfo, pixels.width, pixels.height, pixels.bitsPerSample,
                 pixels.isColor ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(pPng, pWriter->pInfo);
    if (pixels.isBgr) {
        png_set_bgr(pPng);
    }
    if (pixels.bitsPerSample == 16 && pixels.isLittleEndian) {
        png_set_swap(pPng);
    }
    for (unsigned int row = 0; row < pixels.height; ++row) {
        png_write_row(pPng, pixels.data + row * pixels.stride);
    }
    png_write_end(pPng, pWriter->pInfo);
}

bool WritePng(PngWriter* pWriter, const PngPixels& pixels) {
    pWriter->pPng = png_create_write_struct(PNG_LIBPNG_VER_STRING, pWriter, OnPngError, OnPngWarning);
    if (pWriter->pPng != nullptr) {
        pWriter->pInfo = png_create_info_struct(pWriter->pPng);
    }
    if (pWriter->pInfo == nullptr) {
        pWriter->errorNumber = ENOMEM;
        return false;
    }
    if (setjmp(png_jmpbuf(pWriter->pPng)) != 0) {
        return false;
    }
    WriteRows(pWriter, pixels);
    return true;
}

}  // namespace

Error WritePngFile(const PngPixels& pixels, const std::string& path) {
    WholeFile file(path);
    const Error opened = file.Open();
    if (opened != ERR_OK) {
        return opened;
    }
    PngWriter writer;
    writer.pStream = file.GetStream();
    const bool written = WritePng(&writer, pixels);
    png_destroy_write_struct(&writer.pPng, &writer.pInfo);
    if (!written) {
        return writer.errorNumber != 0 ? file.WriteFailure(writer.errorNumber)
                                       : file.WriteFailure(writer.message);
    }
    return file.Finish();
}

}  // namespace Zevrin

#else

#include "Failure.h"

namespace Zevrin {

Error WritePngFile(const PngPixels&, const std::string&) {
    return Failure(ERR_NOT_SUPPORTED, "This library was built without PNG files (libpng).");
}

}  // namespace Zevrin

#endif
