#include "ImageWriters.h"

#ifdef ZEVRIN_WITH_PNG

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "PixelRows.h"
#include "WholeFile.h"

namespace Zevrin {

namespace {

/// Grabbing keeps pace with cameras at this level; the files are some per cent larger than they could be.
constexpr int kCompressionLevel = 1;

/// libpng's part of the work. It leaves by longjmp, so no function between needs a destructor.
struct PngWriter {
    png_structp pPng = nullptr;
    png_infop pInfo = nullptr;
    std::FILE* pStream = nullptr;
    std::vector<png_text> texts;
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

/// The bits that a sample had before it was scaled to what the file holds.
void SetSignificantBits(const PngWriter& writer, unsigned int bits, bool isColor) {
    const auto depth = static_cast<png_byte>(bits);
    png_color_8 significant = {};
    (isColor ? significant.red : significant.gray) = depth;
    significant.green = depth;
    significant.blue = depth;
    png_set_sBIT(writer.pPng, writer.pInfo, &significant);
}

void WriteRows(PngWriter* pWriter, const Picture& picture) {
    png_structp pPng = pWriter->pPng;
    const PixelView& pixels = picture.pixels;
    const RowLayout& layout = *FindRowLayout(pixels.pixelFormat);
    const int depth = static_cast<int>(layout.bits);
    png_set_write_fn(pPng, pWriter, OnPngWrite, OnPngFlush);
    png_set_compression_level(pPng, kCompressionLevel);
    png_set_filter(pPng, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_set_IHDR(pPng, pWriter->pInfo, pixels.width, pixels.height, depth,
                 layout.channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (picture.significantBits < layout.bits) {
        SetSignificantBits(*pWriter, picture.significantBits, layout.channels == 3);
    }
    png_set_text(pPng, pWriter->pInfo, pWriter->texts.data(), static_cast<int>(pWriter->texts.size()));
    png_write_info(pPng, pWriter->pInfo);
    for (std::size_t row = 0; row < pixels.height; ++row) {
        png_write_row(pPng, pixels.data + row * pixels.stride);
    }
    png_write_end(pPng, nullptr);
}

bool WritePng(PngWriter* pWriter, const Picture& picture) {
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
    WriteRows(pWriter, picture);
    return true;
}

}  // namespace

Error WritePngFile(const Picture& picture, const std::string& path) {
    WholeFile file(path);
    const Error opened = file.Open();
    if (opened != ERR_OK) {
        return opened;
    }
    std::vector<std::pair<std::string, std::string>> facts = ListFacts(picture.facts);
    PngWriter writer;
    for (auto& fact : facts) {
        png_text text = {};
        text.compression = PNG_TEXT_COMPRESSION_NONE;
        text.key = fact.first.data();
        text.text = fact.second.data();
        text.text_length = fact.second.size();
        writer.texts.push_back(text);
    }
    writer.pStream = file.GetStream();
    const bool written = WritePng(&writer, picture);
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

Error WritePngFile(const Picture&, const std::string&) {
    return Failure(ERR_NOT_SUPPORTED, "This library was built without PNG files (libpng).");
}

}  // namespace Zevrin

#endif
