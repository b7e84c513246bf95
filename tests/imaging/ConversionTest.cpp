#include "zevrin/ImageConversion.h"

#include "PixelRows.h"
#include "support/Checks.h"

namespace Zevrin {
namespace {

using Bytes = std::vector<unsigned char>;

struct Source {
    PixelFormat format;
    unsigned int width;
    unsigned int height;
    std::size_t stride;
    Bytes bytes;
    bool isBigEndian = false;
    BayerTileFormat tile = BAYER_NONE;
    unsigned int significantBits = 0;

    PixelView View() const {
        return {bytes.data(), bytes.size(), width,       height,         stride,
                format,       tile,         isBigEndian, significantBits};
    }
};

struct GoldenCase {
    const char* name;
    Source source;
    ConversionTarget target;
    Bytes expected;
};

Bytes Repeat(const Bytes& pixel, unsigned int count) {
    Bytes pixels;
    for (; count > 0; --count) {
        pixels.insert(pixels.end(), pixel.begin(), pixel.end());
    }
    return pixels;
}

const Bytes kFlat = Repeat({10, 20, 30}, 4);

const Bytes kRedWords = {255, 255, 0, 0, 0, 0, 0, 0};

const Bytes kOneRedOfBlack = {0, 0, 0, 0, 9, 0, 0, 0, 0, 9, 0, 0, 200, 0, 9, 0, 0, 0, 0};

constexpr PixelFormat kMono8 = PIXEL_FORMAT_MONO8, kMono16 = PIXEL_FORMAT_MONO16,
                      kMono10 = PIXEL_FORMAT_MONO10, kMono12 = PIXEL_FORMAT_MONO12,
                      kMono10Packed = PIXEL_FORMAT_MONO10_PACKED, kMono12Packed = PIXEL_FORMAT_MONO12_PACKED,
                      kRaw8 = PIXEL_FORMAT_RAW8, kRaw16 = PIXEL_FORMAT_RAW16, kRgb8 = PIXEL_FORMAT_RGB8,
                      kBgr8 = PIXEL_FORMAT_BGR8, kRgb16 = PIXEL_FORMAT_RGB16, kYuv444 = PIXEL_FORMAT_YUV444,
                      kYuv422 = PIXEL_FORMAT_YUV422, kYuv411 = PIXEL_FORMAT_YUV411;

// Worked out by hand: from the layouts of the IIDC and GigE Vision standards, and from BT.601, by which red
// of 255 has Y 76.2, U 128 - 0.564 * 76.2 and V 128 + 0.713 * 178.8.
const GoldenCase kGoldenCases[] = {
    {"ByteOrder", {kMono16, 2, 1, 4, {1, 2, 3, 4}, true}, {kMono16}, {2, 1, 4, 3}},
    {"WordToByteRounds", {kMono16, 2, 1, 4, {0x12, 0x34, 0x12, 0xF0}, true}, {kMono8}, {0x12, 0x13}},
    {"TenBitsFillSixteen", {kMono10, 2, 1, 4, {0xFF, 0x03, 0x01, 0x02}}, {kMono16}, {0xFF, 0xFF, 0x60, 0x80}},
    {"BitsAboveTheTopAreWhite", {kMono10, 1, 1, 2, {0x00, 0xFC}}, {kMono8}, {255}},
    {"TwelveBitsToByte", {kMono12, 1, 1, 2, {0x0A, 0xBC}, true}, {kMono8}, {0xAB}},
    {"BytesHaveNoOrder", {kYuv444, 1, 1, 3, {255, 0, 0}, true}, {kYuv444}, {255, 0, 0}},
    {"PackedPixelsHaveNone",
     {kMono10Packed, 2, 1, 3, {0xFF, 0xED, 0}, true},
     {kMono10Packed},
     {0xFF, 0xED, 0}},
    {"PackedRowsThatFollowToTheBit",
     {kMono12Packed, 3, 2, 0, {0x12, 0x63, 0x45, 0x78, 0xC9, 0xAB, 0xDE, 0x2F, 0x01}},
     {kMono12, true},
     {1, 0x23, 4, 0x56, 7, 0x89, 0xA, 0xBC, 0xD, 0xEF, 0, 0x12}},
    {"TenBitsPacked", {kMono10, 2, 1, 4, {0xFD, 0x03, 0x02, 0x00}}, {kMono10Packed}, {0xFF, 0x21, 0x00}},
    {"RedAndBlueTradePlaces", {kRgb8, 2, 1, 6, {1, 2, 3, 4, 5, 6}}, {kBgr8}, {3, 2, 1, 6, 5, 4}},
    {"Brightness", {kBgr8, 3, 1, 9, {0, 0, 255, 0, 255, 0, 255, 0, 0}}, {kMono8}, {76, 150, 29}},
    {"Yuv444", {kYuv444, 2, 1, 6, {128, 200, 128, 85, 76, 255}}, {kRgb8}, {200, 200, 200, 254, 0, 0}},
    {"Yuv411OddWidth", {kYuv411, 1, 1, 6, {85, 76, 9, 255, 9, 9}}, {kRgb8}, {254, 0, 0}},
    {"ToYuv422OddWidth", {kRgb8, 1, 1, 3, {255, 0, 0}}, {kYuv422}, {85, 76, 255, 76}},
    {"ToYuv411OddWidth", {kRgb8, 1, 1, 3, {255, 0, 0}}, {kYuv411}, {85, 76, 76, 255, 76, 76}},
    {"ToRaw", {kRgb8, 2, 2, 6, Repeat({10, 20, 30}, 4)}, {kRaw8, false, BAYER_GRBG}, {20, 10, 30, 20}},
#ifdef ZEVRIN_WITH_OPENCV
    {"Rggb", {kRaw8, 2, 2, 2, {10, 20, 20, 30}, false, BAYER_RGGB}, {kRgb8}, kFlat},
    {"Grbg", {kRaw8, 2, 2, 2, {20, 10, 30, 20}, false, BAYER_GRBG}, {kRgb8}, kFlat},
    {"Gbrg", {kRaw8, 2, 2, 2, {20, 30, 10, 20}, false, BAYER_GBRG}, {kRgb8}, kFlat},
    {"BggrToBgr", {kRaw8, 2, 2, 2, {10, 20, 20, 30}, false, BAYER_BGGR}, {kBgr8}, kFlat},
    {"OneRedPixelAmongBlack",
     {kRaw8, 4, 4, 5, kOneRedOfBlack, false, BAYER_RGGB},
     {kRgb8},
     {50,  0, 0, 50,  0, 0, 100, 0, 0, 100, 0, 0, 50,  0, 0, 50,  0, 0, 100, 0, 0, 100, 0, 0,
      100, 0, 0, 100, 0, 0, 200, 0, 0, 200, 0, 0, 100, 0, 0, 100, 0, 0, 200, 0, 0, 200, 0, 0}},
    {"WordsOfAMosaic",
     {kRaw16, 2, 2, 4, {0, 16, 0, 32, 0, 32, 0, 48}, true, BAYER_RGGB},
     {kRgb16, true},
     Repeat({0, 16, 0, 32, 0, 48}, 4)},
    {"MosaicToGrey", {kRaw16, 2, 2, 4, kRedWords, true, BAYER_RGGB}, {kMono8}, {76, 76, 76, 76}},
#endif
};

TEST(Conversion, GivesTheGoldenPixels) {
    for (const GoldenCase& row : kGoldenCases) {
        PixelBuffer result;
        result.bytes = Bytes(1000, 0xEE);  // of some conversion before
        EXPECT_TRUE(IsOk(ConvertPixels(row.source.View(), row.target, &result))) << row.name;
        EXPECT_EQ(row.expected, result.bytes) << row.name;
        EXPECT_EQ(row.source.width, result.width) << row.name;
        EXPECT_EQ(row.source.height, result.height) << row.name;
        EXPECT_EQ(row.expected.size() / row.source.height, result.stride) << row.name;
    }
}

/// The same pixels in rows that are followed by others.
PixelView Pad(const PixelBuffer& pixels, Bytes* pPadded) {
    constexpr std::size_t kPadding = 7;
    PixelView view = pixels.View();
    pPadded->clear();
    for (const unsigned char* row = view.data; row != view.data + view.size; row += view.stride) {
        pPadded->insert(pPadded->end(), row, row + view.stride);
        pPadded->resize(pPadded->size() + kPadding, 0xEE);
    }
    view.data = pPadded->data();
    view.size = pPadded->size();
    view.stride += kPadding;
    return view;
}

/// By odd sizes and with padded rows: black, white and what lies between stay.
TEST(Conversion, KeepsBrightnessFromEveryFormatToEveryOther) {
    int pairs = 0;
    const auto sweep = [&pairs](PixelFormat source, PixelFormat target, unsigned char level) {
        const Source grey{kMono8, 5, 3, 5, Bytes(5 * 3, level)};
        PixelBuffer result;
        Bytes padded;
        PixelView view = grey.View();
        for (const ConversionTarget& step :
             {ConversionTarget{source, true, BAYER_RGGB}, {target, false, BAYER_RGGB}, {kMono8}}) {
            const Error error = ConvertPixels(view, step, &result);
#ifndef ZEVRIN_WITH_OPENCV
            if (error == ERR_NOT_SUPPORTED) {
                return;
            }
#endif
            ASSERT_TRUE(IsOk(error));
            view = Pad(result, &padded);
        }
        EXPECT_EQ(grey.bytes, result.bytes) << GetPixelFormatName(source) << GetPixelFormatName(target);
        ++pairs;
    };
    for (int from = kMono8; from <= kMono12Packed; ++from) {
        for (int to = kMono8; to <= kMono12Packed; ++to) {
            const auto source = static_cast<PixelFormat>(from);
            const auto target = static_cast<PixelFormat>(to);
            if (FindRowLayout(source) != nullptr && FindRowLayout(target) != nullptr) {
                for (const unsigned char level : Bytes{0, 77, 255}) {
                    sweep(source, target, level);
                }
            }
        }
    }
    EXPECT_LE(3 * 100, pairs);
}

TEST(Conversion, NamesWhatIsWrongAndReadsNothing) {
    const Bytes bytes(8);
    const Source good{kMono16, 2, 2, 4, bytes};
    const Source mosaic{kRaw16, 2, 2, 4, bytes, false, BAYER_RGGB};
    constexpr ErrorType kInvalid = ERR_INVALID_PARAMETER;
    constexpr unsigned int kHuge = 0x80000000U;
    const struct {
        const char* part;  // of the message
        Source source;
        ConversionTarget target;
        ErrorType type = kInvalid;
    } cases[] = {
        {"8 bytes", {kMono16, 2, 3, 4, bytes}, {kMono8}},
        {"8 bytes", {kMono16, 2, 2, 3, bytes}, {kMono8}},
        {"8 bytes", {kMono16, 0, 2, 4, bytes}, {kMono8}},
        {"8 bytes", {kMono16, 2, 0, 4, bytes}, {kMono8}},
        {"8 bytes", {kMono16, 2, 2, ~std::size_t{0} / 2 + 1, bytes}, {}},
        {"8 bytes", {kMono16, kHuge, kHuge, 0, bytes}, {kMono8}},
        {"8 bytes", {kYuv422, 3, 1, 6, bytes}, {kRgb8}},
        {"no pixels", {kMono16, 2, 2, 4, {}}, {kMono8}},
        {"17", {kMono16, 2, 2, 4, bytes, false, BAYER_NONE, 17}, {kMono8}},
        {"SignedMono16", {PIXEL_FORMAT_SIGNED_MONO16, 2, 2, 4, bytes}, {}, ERR_NOT_SUPPORTED},
        {"unknown", good, {PIXEL_FORMAT_UNKNOWN}, ERR_NOT_SUPPORTED},
        {"order", {kRgb8, 1, 1, 4, bytes}, {kRaw8}},
        {"another order", mosaic, {kRaw8, false, BAYER_BGGR}},
#ifdef ZEVRIN_WITH_OPENCV
        {"colour filters", {kRaw16, 2, 2, 4, bytes}, {}},
        {"1 x 2", {kRaw16, 1, 2, 4, bytes, false, BAYER_RGGB}, {}, ERR_NOT_SUPPORTED},
#else
        {"libopencv-imgproc-dev", mosaic, {}, ERR_NOT_SUPPORTED},
#endif
    };
    for (const auto& row : cases) {
        PixelBuffer result;
        EXPECT_TRUE(SaysPart(ConvertPixels(row.source.View(), row.target, &result), row.type, row.part));
    }
    PixelBuffer own;
    EXPECT_EQ(kInvalid, ConvertPixels(good.View(), {}, nullptr).GetType());
    ASSERT_TRUE(IsOk(ConvertPixels(good.View(), {}, &own)));
    EXPECT_EQ(kInvalid, ConvertPixels(own.View(), {}, &own).GetType()) << "it would read freed memory";
}

}  // namespace
}  // namespace Zevrin
