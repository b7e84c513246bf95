#include "PixelFormats.h"

namespace Zevrin {

namespace {

struct Row {
    ArvPixelFormat genicam;
    PixelLayout layout;
};

/// Not here: what is laid out otherwise than any format of this library, such as planar images, and the
/// "p" packings, whose bits are in another order than those of the older "Packed" ones.
const Row kRows[] = {
    {ARV_PIXEL_FORMAT_MONO_8, {PIXEL_FORMAT_MONO8, BAYER_NONE, 8}},
    {ARV_PIXEL_FORMAT_MONO_10, {PIXEL_FORMAT_MONO10, BAYER_NONE, 10}},
    {ARV_PIXEL_FORMAT_MONO_12, {PIXEL_FORMAT_MONO12, BAYER_NONE, 12}},
    {ARV_PIXEL_FORMAT_MONO_16, {PIXEL_FORMAT_MONO16, BAYER_NONE, 16}},
    {ARV_PIXEL_FORMAT_MONO_10_PACKED, {PIXEL_FORMAT_MONO10_PACKED, BAYER_NONE, 10}},
    {ARV_PIXEL_FORMAT_MONO_12_PACKED, {PIXEL_FORMAT_MONO12_PACKED, BAYER_NONE, 12}},
    {ARV_PIXEL_FORMAT_BAYER_RG_8, {PIXEL_FORMAT_RAW8, BAYER_RGGB, 8}},
    {ARV_PIXEL_FORMAT_BAYER_GR_8, {PIXEL_FORMAT_RAW8, BAYER_GRBG, 8}},
    {ARV_PIXEL_FORMAT_BAYER_GB_8, {PIXEL_FORMAT_RAW8, BAYER_GBRG, 8}},
    {ARV_PIXEL_FORMAT_BAYER_BG_8, {PIXEL_FORMAT_RAW8, BAYER_BGGR, 8}},
    // 10 and 12 bits stand in the low bits of a 16-bit sample.
    {ARV_PIXEL_FORMAT_BAYER_RG_10, {PIXEL_FORMAT_RAW16, BAYER_RGGB, 10}},
    {ARV_PIXEL_FORMAT_BAYER_GR_10, {PIXEL_FORMAT_RAW16, BAYER_GRBG, 10}},
    {ARV_PIXEL_FORMAT_BAYER_GB_10, {PIXEL_FORMAT_RAW16, BAYER_GBRG, 10}},
    {ARV_PIXEL_FORMAT_BAYER_BG_10, {PIXEL_FORMAT_RAW16, BAYER_BGGR, 10}},
    {ARV_PIXEL_FORMAT_BAYER_RG_12, {PIXEL_FORMAT_RAW16, BAYER_RGGB, 12}},
    {ARV_PIXEL_FORMAT_BAYER_GR_12, {PIXEL_FORMAT_RAW16, BAYER_GRBG, 12}},
    {ARV_PIXEL_FORMAT_BAYER_GB_12, {PIXEL_FORMAT_RAW16, BAYER_GBRG, 12}},
    {ARV_PIXEL_FORMAT_BAYER_BG_12, {PIXEL_FORMAT_RAW16, BAYER_BGGR, 12}},
    {ARV_PIXEL_FORMAT_BAYER_RG_16, {PIXEL_FORMAT_RAW16, BAYER_RGGB, 16}},
    {ARV_PIXEL_FORMAT_BAYER_GR_16, {PIXEL_FORMAT_RAW16, BAYER_GRBG, 16}},
    {ARV_PIXEL_FORMAT_BAYER_GB_16, {PIXEL_FORMAT_RAW16, BAYER_GBRG, 16}},
    {ARV_PIXEL_FORMAT_BAYER_BG_16, {PIXEL_FORMAT_RAW16, BAYER_BGGR, 16}},
    {ARV_PIXEL_FORMAT_RGB_8_PACKED, {PIXEL_FORMAT_RGB8, BAYER_NONE, 8}},
    {ARV_PIXEL_FORMAT_BGR_8_PACKED, {PIXEL_FORMAT_BGR8, BAYER_NONE, 8}},
    {ARV_PIXEL_FORMAT_YUV_411_PACKED, {PIXEL_FORMAT_YUV411, BAYER_NONE, 8}},
    {ARV_PIXEL_FORMAT_YUV_422_PACKED, {PIXEL_FORMAT_YUV422, BAYER_NONE, 8}},
    {ARV_PIXEL_FORMAT_YUV_444_PACKED, {PIXEL_FORMAT_YUV444, BAYER_NONE, 8}},
};

constexpr unsigned int kColorClass = 0x02;  // the highest byte of a GenICam pixel format
constexpr unsigned int kClassShift = 24;

}  // namespace

PixelLayout GetPixelLayout(ArvPixelFormat pixelFormat) {
    for (const Row& row : kRows) {
        if (row.genicam == pixelFormat) {
            return row.layout;
        }
    }
    return PixelLayout();
}

bool IsColor(ArvPixelFormat pixelFormat) {
    return pixelFormat >> kClassShift == kColorClass || GetPixelLayout(pixelFormat).bayerFormat != BAYER_NONE;
}

}  // namespace Zevrin
