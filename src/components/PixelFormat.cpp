#include "zevrin/PixelFormat.h"

namespace Zevrin {

namespace {

struct PixelFormatFacts {
    PixelFormat format;
    const char* name;
    unsigned int bitsPerPixel;
};

constexpr PixelFormatFacts kPixelFormats[] = {
    {PIXEL_FORMAT_UNKNOWN, "unknown", 0},
    {PIXEL_FORMAT_MONO8, "Mono8", 8},
    {PIXEL_FORMAT_YUV411, "YUV411", 12},
    {PIXEL_FORMAT_YUV422, "YUV422", 16},
    {PIXEL_FORMAT_YUV444, "YUV444", 24},
    {PIXEL_FORMAT_RGB8, "RGB8", 24},
    {PIXEL_FORMAT_MONO16, "Mono16", 16},
    {PIXEL_FORMAT_RGB16, "RGB16", 48},
    {PIXEL_FORMAT_SIGNED_MONO16, "SignedMono16", 16},
    {PIXEL_FORMAT_SIGNED_RGB16, "SignedRGB16", 48},
    {PIXEL_FORMAT_RAW8, "Raw8", 8},
    {PIXEL_FORMAT_RAW16, "Raw16", 16},
    {PIXEL_FORMAT_BGR8, "BGR8", 24},
    {PIXEL_FORMAT_MONO10, "Mono10", 16},
    {PIXEL_FORMAT_MONO12, "Mono12", 16},
    {PIXEL_FORMAT_MONO10_PACKED, "Mono10Packed", 12},
    {PIXEL_FORMAT_MONO12_PACKED, "Mono12Packed", 12},
};

constexpr bool IsIndexedByFormat() {
    int index = 0;
    for (const PixelFormatFacts& facts : kPixelFormats) {
        if (facts.format != index++) {
            return false;
        }
    }
    return true;
}
static_assert(IsIndexedByFormat(), "row n describes pixel format n");

const PixelFormatFacts& FactsOf(PixelFormat format) {
    const auto index = static_cast<unsigned int>(format);
    return kPixelFormats[index < sizeof(kPixelFormats) / sizeof(kPixelFormats[0]) ? index : 0];
}

}  // namespace

const char* GetPixelFormatName(PixelFormat format) noexcept {
    return FactsOf(format).name;
}

unsigned int GetBitsPerPixel(PixelFormat format) noexcept {
    return FactsOf(format).bitsPerPixel;
}

}  // namespace Zevrin
