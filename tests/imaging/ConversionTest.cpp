#include "zevrin/ImageConversion.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "PixelRows.h"

namespace Zevrin {
namespace {

using Bytes = std::vector<unsigned char>;

PixelView MakeView(PixelFormat format, unsigned int width, unsigned int height, std::size_t stride,
                   const Bytes& bytes) {
    PixelView view;
    view.data = bytes.data();
    view.size = bytes.size();
    view.width = width;
    view.height = height;
    view.stride = stride;
    view.pixelFormat = format;
    return view;
}

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
        PixelView view = MakeView(format, width, height, stride, bytes);
        view.isBigEndian = isBigEndian;
        view.bayerTileFormat = tile;
        view.significantBits = significantBits;
        return view;
    }
};

struct GoldenCase {
    const char* name;
    Source source;
    ConversionTarget target;
    Bytes expected;
};

void PrintTo(const GoldenCase& row, std::ostream* pStream) {
    *pStream << row.name;
}

/// Three times the samples of a plane in the first, second or third place of each pixel.
Bytes InChannel(unsigned int channel, const Bytes& plane) {
    Bytes pixels(3 * plane.size());
    for (std::size_t index = 0; index < plane.size(); ++index) {
        pixels[3 * index + channel] = plane[index];
    }
    return pixels;
}

Bytes Repeat(const Bytes& pixel, unsigned int count) {
    Bytes pixels;
    for (; count > 0; --count) {
        pixels.insert(pixels.end(), pixel.begin(), pixel.end());
    }
    return pixels;
}

const Bytes kFlat = Repeat({10, 20, 30}, 16);

// Worked out by hand: from the layouts of the IIDC and GigE Vision standards, and from BT.601, by which red
// of 255 has Y 76.2, U 128 - 0.564 * 76.2 and V 128 + 0.713 * 178.8.
const GoldenCase kGoldenCases[] = {
    {"GreyIsTheSameInAllColours",
     {PIXEL_FORMAT_MONO8, 3, 1, 3, {0, 128, 255}},
     {PIXEL_FORMAT_RGB8},
     {0, 0, 0, 128, 128, 128, 255, 255, 255}},
    {"PaddingIsSkipped",
     {PIXEL_FORMAT_MONO8, 1, 3, 3, {1, 9, 9, 2, 9, 9, 3}},
     {PIXEL_FORMAT_MONO8},
     {1, 2, 3}},
    {"ByteToWord", {PIXEL_FORMAT_MONO8, 1, 1, 1, {0x12}}, {PIXEL_FORMAT_MONO16, true}, {0x12, 0x12}},
    {"ByteOrder", {PIXEL_FORMAT_MONO16, 2, 1, 4, {1, 2, 3, 4}, true}, {PIXEL_FORMAT_MONO16}, {2, 1, 4, 3}},
    {"WordToByteRounds",
     {PIXEL_FORMAT_MONO16, 2, 1, 4, {0x12, 0x34, 0x12, 0xF0}, true},
     {PIXEL_FORMAT_MONO8},
     {0x12, 0x13}},
    {"TenBitsFillSixteen",
     {PIXEL_FORMAT_MONO10, 2, 1, 4, {0xFF, 0x03, 0x01, 0x02}},
     {PIXEL_FORMAT_MONO16},
     {0xFF, 0xFF, 0x60, 0x80}},
    {"BitsAboveTheTopAreWhite", {PIXEL_FORMAT_MONO10, 1, 1, 2, {0x00, 0xFC}}, {PIXEL_FORMAT_MONO8}, {255}},
    {"TwelveBitsToByte", {PIXEL_FORMAT_MONO12, 1, 1, 2, {0x0A, 0xBC}, true}, {PIXEL_FORMAT_MONO8}, {0xAB}},
    {"TwelveBitsPackedOddWidth",
     {PIXEL_FORMAT_MONO12, 3, 1, 6, {1, 0x23, 4, 0x56, 7, 0x89}, true},
     {PIXEL_FORMAT_MONO12_PACKED},
     {0x12, 0x63, 0x45, 0x78, 0x09}},
    {"PackedRowsThatBeginWithAByte",
     {PIXEL_FORMAT_MONO12_PACKED, 3, 2, 5, {0x12, 0x63, 0x45, 0x78, 0x09, 0xAB, 0xFC, 0xDE, 0x01, 0x02}},
     {PIXEL_FORMAT_MONO12, true},
     {1, 0x23, 4, 0x56, 7, 0x89, 0xA, 0xBC, 0xD, 0xEF, 0, 0x12}},
    {"PackedRowsThatFollowToTheBit",
     {PIXEL_FORMAT_MONO12_PACKED, 3, 2, 0, {0x12, 0x63, 0x45, 0x78, 0xC9, 0xAB, 0xDE, 0x2F, 0x01}},
     {PIXEL_FORMAT_MONO12, true},
     {1, 0x23, 4, 0x56, 7, 0x89, 0xA, 0xBC, 0xD, 0xEF, 0, 0x12}},
    {"TenBitsUnpacked",
     {PIXEL_FORMAT_MONO10_PACKED, 2, 1, 3, {0xFF, 0x21, 0x00}},
     {PIXEL_FORMAT_MONO10},
     {0xFD, 0x03, 0x02, 0x00}},
    {"TenBitsPacked",
     {PIXEL_FORMAT_MONO10, 2, 1, 4, {0xFD, 0x03, 0x02, 0x00}},
     {PIXEL_FORMAT_MONO10_PACKED},
     {0xFF, 0x21, 0x00}},
    {"RawWithTwelveBitsOfSixteen",
     {PIXEL_FORMAT_RAW16, 1, 1, 2, {0xBC, 0x0A}, false, BAYER_GBRG, 12},
     {PIXEL_FORMAT_RAW8},
     {0xAB}},
    {"RedAndBlueTradePlaces",
     {PIXEL_FORMAT_RGB8, 2, 1, 6, {1, 2, 3, 4, 5, 6}},
     {PIXEL_FORMAT_BGR8},
     {3, 2, 1, 6, 5, 4}},
    {"Brightness",
     {PIXEL_FORMAT_BGR8, 4, 1, 12, {0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255}},
     {PIXEL_FORMAT_MONO8},
     {76, 150, 29, 255}},
    {"Yuv444",
     {PIXEL_FORMAT_YUV444, 2, 1, 6, {128, 200, 128, 85, 76, 255}},
     {PIXEL_FORMAT_RGB8},
     {200, 200, 200, 254, 0, 0}},
    {"Yuv422OddWidth",
     {PIXEL_FORMAT_YUV422, 3, 1, 8, {128, 1, 128, 2, 128, 3, 128, 4}},
     {PIXEL_FORMAT_RGB8},
     {1, 1, 1, 2, 2, 2, 3, 3, 3}},
    {"Yuv411OddWidth",
     {PIXEL_FORMAT_YUV411, 5, 1, 12, {128, 1, 2, 128, 3, 4, 85, 76, 9, 255, 9, 9}},
     {PIXEL_FORMAT_RGB8},
     {1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 254, 0, 0}},
    {"ToYuv444", {PIXEL_FORMAT_RGB8, 1, 1, 3, {255, 0, 0}}, {PIXEL_FORMAT_YUV444}, {85, 76, 255}},
    {"ToYuv422OddWidth",
     {PIXEL_FORMAT_RGB8, 3, 1, 9, Repeat({255, 0, 0}, 3)},
     {PIXEL_FORMAT_YUV422},
     {85, 76, 255, 76, 85, 76, 255, 76}},
    {"ToYuv411OddWidth",
     {PIXEL_FORMAT_RGB8, 1, 1, 3, {255, 0, 0}},
     {PIXEL_FORMAT_YUV411},
     {85, 76, 76, 255, 76, 76}},
    {"ToRaw",
     {PIXEL_FORMAT_RGB8, 2, 2, 6, Repeat({10, 20, 30}, 4)},
     {PIXEL_FORMAT_RAW8, false, BAYER_GRBG},
     {20, 10, 30, 20}},
#ifdef ZEVRIN_WITH_OPENCV
    {"Rggb",
     {PIXEL_FORMAT_RAW8,
      4,
      4,
      4,
      {10, 20, 10, 20, 20, 30, 20, 30, 10, 20, 10, 20, 20, 30, 20, 30},
      false,
      BAYER_RGGB},
     {PIXEL_FORMAT_RGB8},
     kFlat},
    {"Grbg",
     {PIXEL_FORMAT_RAW8,
      4,
      4,
      4,
      {20, 10, 20, 10, 30, 20, 30, 20, 20, 10, 20, 10, 30, 20, 30, 20},
      false,
      BAYER_GRBG},
     {PIXEL_FORMAT_RGB8},
     kFlat},
    {"Gbrg",
     {PIXEL_FORMAT_RAW8,
      4,
      4,
      4,
      {20, 30, 20, 30, 10, 20, 10, 20, 20, 30, 20, 30, 10, 20, 10, 20},
      false,
      BAYER_GBRG},
     {PIXEL_FORMAT_RGB8},
     kFlat},
    {"BggrToBgr",
     {PIXEL_FORMAT_RAW8,
      4,
      4,
      4,
      {30, 20, 30, 20, 20, 10, 20, 10, 30, 20, 30, 20, 20, 10, 20, 10},
      false,
      BAYER_BGGR},
     {PIXEL_FORMAT_BGR8},
     Repeat({30, 20, 10}, 16)},
    {"SmallestMosaic",
     {PIXEL_FORMAT_RAW8, 2, 2, 2, {10, 20, 20, 30}, false, BAYER_RGGB},
     {PIXEL_FORMAT_RGB8},
     Repeat({10, 20, 30}, 4)},
    {"OneRedPixelAmongBlack",
     {PIXEL_FORMAT_RAW8,
      4,
      4,
      5,
      {0, 0, 0, 0, 9, 0, 0, 0, 0, 9, 0, 0, 200, 0, 9, 0, 0, 0, 0},
      false,
      BAYER_RGGB},
     {PIXEL_FORMAT_RGB8},
     InChannel(0, {50, 50, 100, 100, 50, 50, 100, 100, 100, 100, 200, 200, 100, 100, 200, 200})},
    {"WordsOfAMosaic",
     {PIXEL_FORMAT_RAW16, 2, 2, 4, {0, 16, 0, 32, 0, 32, 0, 48}, true, BAYER_RGGB},
     {PIXEL_FORMAT_RGB16, true},
     Repeat({0, 16, 0, 32, 0, 48}, 4)},
    {"MosaicToGrey",
     {PIXEL_FORMAT_RAW16, 2, 2, 4, {255, 255, 0, 0, 0, 0, 0, 0}, true, BAYER_RGGB},
     {PIXEL_FORMAT_MONO8},
     {76, 76, 76, 76}},
#endif
};

class Conversion : public testing::TestWithParam<GoldenCase> {};

TEST_P(Conversion, GivesTheGoldenPixels) {
    const GoldenCase& row = GetParam();
    PixelBuffer result;
    result.bytes = Bytes(1000, 0xEE);  // of some conversion before
    const Error error = ConvertPixels(row.source.View(), row.target, &result);
    ASSERT_EQ(ERR_OK, error.GetType()) << error.GetDescription();
    EXPECT_EQ(row.expected, result.bytes);
    EXPECT_EQ(row.source.width, result.width);
    EXPECT_EQ(row.source.height, result.height);
    EXPECT_EQ(row.expected.size() / result.height, result.stride);
}

INSTANTIATE_TEST_SUITE_P(Golden, Conversion, testing::ValuesIn(kGoldenCases),
                         [](const auto& row) { return std::string(row.param.name); });

/// Every format to every other, by odd sizes and with padded rows: black, white and what lies between stay.
TEST(ConversionSweep, KeepsBrightnessFromEveryFormatToEveryOther) {
    constexpr unsigned int kWidth = 5;
    constexpr unsigned int kHeight = 3;
    int pairs = 0;
    for (int from = PIXEL_FORMAT_MONO8; from <= PIXEL_FORMAT_MONO12_PACKED; ++from) {
        for (int to = PIXEL_FORMAT_MONO8; to <= PIXEL_FORMAT_MONO12_PACKED; ++to) {
            const auto source = static_cast<PixelFormat>(from);
            const auto target = static_cast<PixelFormat>(to);
            if (FindRowLayout(source) == nullptr || FindRowLayout(target) == nullptr) {
                continue;
            }
            for (const unsigned char level : Bytes{0, 77, 255}) {
                const Bytes grey(kWidth * kHeight, level);
                PixelBuffer steps[3];
                PixelView view = MakeView(PIXEL_FORMAT_MONO8, kWidth, kHeight, kWidth, grey);
                Bytes padded;
                int step = 0;
                for (const PixelFormat format : {source, target, PIXEL_FORMAT_MONO8}) {
                    const Error error = ConvertPixels(view, {format, step == 0, BAYER_RGGB}, &steps[step]);
#ifndef ZEVRIN_WITH_OPENCV
                    if (error == ERR_NOT_SUPPORTED) {
                        break;
                    }
#endif
                    ASSERT_EQ(ERR_OK, error.GetType()) << error.GetDescription();
                    view = steps[step++].View();
                    padded.clear();
                    for (unsigned int row = 0; row < kHeight; ++row) {
                        padded.insert(padded.end(), view.data + row * view.stride,
                                      view.data + (row + 1) * view.stride);
                        padded.resize(padded.size() + 7, 0xEE);
                    }
                    view.data = padded.data();
                    view.size = padded.size();
                    view.stride += 7;
                }
                if (step == 3) {
                    EXPECT_EQ(grey, steps[2].bytes)
                        << GetPixelFormatName(source) << " to " << GetPixelFormatName(target);
                    ++pairs;
                }
            }
        }
    }
    EXPECT_LE(3 * 100, pairs);
}

TEST(ConversionRefusal, NamesWhatIsWrongAndReadsNothing) {
    const Bytes bytes(8);
    Source good{PIXEL_FORMAT_MONO16, 2, 2, 4, bytes};
    const auto with = [&good](const auto& change) {
        Source source = good;
        change(source);
        return source;
    };
    const struct {
        const char* part;  // of the message
        Source source;
        ConversionTarget target;
        ErrorType type;
    } cases[] = {
        {"8 bytes", with([](Source& s) { s.height = 3; }), {PIXEL_FORMAT_MONO8}, ERR_INVALID_PARAMETER},
        {"8 bytes", with([](Source& s) { s.stride = 3; }), {PIXEL_FORMAT_MONO8}, ERR_INVALID_PARAMETER},
        {"8 bytes", with([](Source& s) { s.width = 0; }), {PIXEL_FORMAT_MONO8}, ERR_INVALID_PARAMETER},
        {"8 bytes", with([](Source& s) { s.height = 0; }), {PIXEL_FORMAT_MONO8}, ERR_INVALID_PARAMETER},
        {"8 bytes", with([](Source& s) { s.stride = ~std::size_t{0} / 2 + 1; }), {}, ERR_INVALID_PARAMETER},
        {"8 bytes",
         with([](Source& s) { s.width = s.height = 0x80000000U, s.stride = 0; }),
         {PIXEL_FORMAT_MONO8},
         ERR_INVALID_PARAMETER},
        {"8 bytes",
         with([](Source& s) { s.format = PIXEL_FORMAT_YUV422, s.width = 3, s.height = 1, s.stride = 6; }),
         {PIXEL_FORMAT_RGB8},
         ERR_INVALID_PARAMETER},
        {"no pixels",
         with([](Source& s) { s.bytes = Bytes(); }),
         {PIXEL_FORMAT_MONO8},
         ERR_INVALID_PARAMETER},
        {"17", with([](Source& s) { s.significantBits = 17; }), {PIXEL_FORMAT_MONO8}, ERR_INVALID_PARAMETER},
        {"SignedMono16",
         with([](Source& s) { s.format = PIXEL_FORMAT_SIGNED_MONO16; }),
         {},
         ERR_NOT_SUPPORTED},
        {"unknown", good, {PIXEL_FORMAT_UNKNOWN}, ERR_NOT_SUPPORTED},
        {"order",
         with([](Source& s) { s.format = PIXEL_FORMAT_RGB8, s.width = s.height = 1; }),
         {PIXEL_FORMAT_RAW8},
         ERR_INVALID_PARAMETER},
        {"another order",
         with([](Source& s) { s.format = PIXEL_FORMAT_RAW16, s.tile = BAYER_RGGB; }),
         {PIXEL_FORMAT_RAW8, false, BAYER_BGGR},
         ERR_INVALID_PARAMETER},
#ifdef ZEVRIN_WITH_OPENCV
        {"colour filters", with([](Source& s) { s.format = PIXEL_FORMAT_RAW16; }), {}, ERR_INVALID_PARAMETER},
        {"1 x 2",
         with([](Source& s) { s.format = PIXEL_FORMAT_RAW16, s.width = 1, s.tile = BAYER_RGGB; }),
         {},
         ERR_NOT_SUPPORTED},
#else
        {"libopencv-imgproc-dev",
         with([](Source& s) { s.format = PIXEL_FORMAT_RAW16, s.tile = BAYER_RGGB; }),
         {},
         ERR_NOT_SUPPORTED},
#endif
    };
    for (const auto& row : cases) {
        PixelBuffer result;
        const Error error = ConvertPixels(row.source.View(), row.target, &result);
        EXPECT_EQ(row.type, error.GetType()) << row.part << ": " << error.GetDescription();
        EXPECT_NE(std::string::npos, std::string(error.GetDescription()).find(row.part))
            << error.GetDescription();
    }
    PixelBuffer own;
    EXPECT_EQ(ERR_INVALID_PARAMETER, ConvertPixels(good.View(), {}, nullptr).GetType());
    ASSERT_EQ(ERR_OK, ConvertPixels(good.View(), {}, &own).GetType());
    EXPECT_EQ(ERR_INVALID_PARAMETER, ConvertPixels(own.View(), {}, &own).GetType())
        << "it would read freed memory";
}

}  // namespace
}  // namespace Zevrin
