#include "ImageWriters.h"

#ifdef ZEVRIN_WITH_TIFF

#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

#include "PixelRows.h"
#include "WholeFile.h"

namespace Zevrin {

namespace {

constexpr unsigned long long kMaxClassicSize = 4000000000ULL;  // offsets have 32 bits, unless it is BigTIFF

struct TiffStream {
    std::FILE* pStream = nullptr;
    int errorNumber = 0;  ///< of the write that failed; 0 when libtiff itself found fault
    char message[160] = "";
};

extern "C" {

static tmsize_t OnTiffRead(thandle_t, void*, tmsize_t) {
    return 0;
}

static tmsize_t OnTiffWrite(thandle_t pData, void* data, tmsize_t size) {
    auto* const pTiff = static_cast<TiffStream*>(pData);
    const std::size_t written = std::fwrite(data, 1, static_cast<std::size_t>(size), pTiff->pStream);
    if (written != static_cast<std::size_t>(size)) {
        pTiff->errorNumber = errno;
    }
    return static_cast<tmsize_t>(written);
}

static toff_t OnTiffSeek(thandle_t pData, toff_t offset, int whence) {
    auto* const pTiff = static_cast<TiffStream*>(pData);
    if (fseeko(pTiff->pStream, static_cast<off_t>(offset), whence) != 0) {
        pTiff->errorNumber = errno;
        return static_cast<toff_t>(-1);
    }
    return static_cast<toff_t>(ftello(pTiff->pStream));
}

static int OnTiffClose(thandle_t) {
    return 0;
}

static toff_t OnTiffSize(thandle_t) {
    return 0;
}

static int OnTiffProblem(TIFF*, void* pData, const char*, const char* format, va_list arguments) {
    auto* const pTiff = static_cast<TiffStream*>(pData);
    std::vsnprintf(pTiff->message, sizeof pTiff->message, format, arguments);
    return 1;  // keeps it off standard error
}

}  // extern "C"

using TiffPointer = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

TiffPointer OpenTiff(const char* mode, TiffStream* pStream) {
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> pOptions(TIFFOpenOptionsAlloc(),
                                                                                    TIFFOpenOptionsFree);
    if (pOptions == nullptr) {
        return TiffPointer(nullptr, TIFFClose);
    }
    TIFFOpenOptionsSetErrorHandlerExtR(pOptions.get(), OnTiffProblem, pStream);
    TIFFOpenOptionsSetWarningHandlerExtR(pOptions.get(), OnTiffProblem, pStream);
    return TiffPointer(TIFFClientOpenExt("picture", mode, pStream, OnTiffRead, OnTiffWrite, OnTiffSeek,
                                         OnTiffClose, OnTiffSize, nullptr, nullptr, pOptions.get()),
                       TIFFClose);
}

/// "2026-11-23T08:15:00.5Z" as the tag has it: "2026:11:23 08:15:00".
std::string ToTiffTime(std::string time) {
    time.resize(std::min<std::size_t>(time.size(), 19));
    std::replace(time.begin(), time.end(), '-', ':');
    std::replace(time.begin(), time.end(), 'T', ' ');
    return time;
}

bool SetTags(TIFF* pTiff, const Picture& picture) {
    const PixelView& pixels = picture.pixels;
    const RowLayout& layout = *FindRowLayout(pixels.pixelFormat);
    const bool isColor = layout.channels == 3;
    bool isSet =
        TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, pixels.width) == 1 &&
        TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, pixels.height) == 1 &&
        TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, layout.channels) == 1 &&
        TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, layout.bits) == 1 &&
        TIFFSetField(pTiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == 1 &&
        TIFFSetField(pTiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) == 1 &&
        TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC, isColor ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK) == 1 &&
        TIFFSetField(pTiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(pTiff, 0)) == 1 &&
        TIFFSetField(pTiff, TIFFTAG_SOFTWARE, "zevrin") == 1 &&
        TIFFSetField(pTiff, TIFFTAG_IMAGEDESCRIPTION, picture.facts.dump().c_str()) == 1;
    if (isSet && picture.facts.contains("time")) {
        const std::string time = ToTiffTime(picture.facts["time"].get<std::string>());
        isSet = TIFFSetField(pTiff, TIFFTAG_DATETIME, time.c_str()) == 1;
    }
    if (isSet && picture.facts.contains("serialNumber")) {
        const std::string serialNumber = picture.facts["serialNumber"].dump();
        isSet = TIFFSetField(pTiff, TIFFTAG_CAMERASERIALNUMBER, serialNumber.c_str()) == 1;
    }
    return isSet;
}

bool WriteTiff(const Picture& picture, TiffStream* pStream) {
    const PixelView& pixels = picture.pixels;
    const bool isBig = 1ULL * pixels.stride * pixels.height > kMaxClassicSize;
    const TiffPointer pTiff = OpenTiff(isBig ? "w8" : "w", pStream);
    bool isGood = pTiff != nullptr && SetTags(pTiff.get(), picture);
    for (unsigned int row = 0; row < pixels.height && isGood; ++row) {
        // libtiff would change a row to swap its bytes only, and they are in the host's order.
        unsigned char* const data = const_cast<unsigned char*>(pixels.data) + row * pixels.stride;
        isGood = TIFFWriteScanline(pTiff.get(), data, row, 0) == 1;
    }
    // Closing does it too, but tells nothing.
    return isGood && TIFFFlush(pTiff.get()) == 1;
}

}  // namespace

Error WriteTiffFile(const Picture& picture, const std::string& path) {
    WholeFile file(path);
    const Error opened = file.Open();
    if (opened != ERR_OK) {
        return opened;
    }
    TiffStream stream;
    stream.pStream = file.GetStream();
    if (!WriteTiff(picture, &stream) || stream.errorNumber != 0) {
        return stream.errorNumber != 0 ? file.WriteFailure(stream.errorNumber)
                                       : file.WriteFailure(stream.message);
    }
    return file.Finish();
}

}  // namespace Zevrin

#else

#include "Failure.h"

namespace Zevrin {

Error WriteTiffFile(const Picture&, const std::string&) {
    return Failure(ERR_NOT_SUPPORTED, "This library was built without TIFF files (libtiff).");
}

}  // namespace Zevrin

#endif
