#include "TestPicture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "VideoFormats.h"

namespace Zevrin {

namespace {

// Everything happens in groups of four pixels, which are whole bytes in every format and keep the phase of
// Bayer tiles and of shared colour samples.
constexpr unsigned int kGroup = 4;
constexpr unsigned int kWave = 256;
constexpr unsigned int kGreenPhase = 85;
constexpr unsigned int kBluePhase = 170;
constexpr unsigned int kFullSample = 0xFFFF;
constexpr unsigned int kDigitRows = 5;
constexpr unsigned int kDigitColumns = 3;

constexpr unsigned int kDigits[10] = {
    0b111101101101111, 0b010110010010111, 0b111001111100111, 0b111001111001111, 0b101101111001001,
    0b111100111001111, 0b111100111101111, 0b111001001001001, 0b111101111101111, 0b111101111001111,
};

struct Pixel {
    unsigned int red;  // 16 bits each
    unsigned int green;
    unsigned int blue;
};

// ITU-R BT.601, full range, in 1/65536.
unsigned int Luma(const Pixel& pixel) {
    return (19595 * pixel.red + 38470 * pixel.green + 7471 * pixel.blue) >> 16;
}

unsigned char Chroma(unsigned int sample, unsigned int luma, int scale) {
    const int difference = static_cast<int>(sample >> 8) - static_cast<int>(luma >> 8);
    return static_cast<unsigned char>(std::clamp(128 + difference * scale / 1000, 0, 255));
}

struct Yuv {
    unsigned char y, u, v;
};

Yuv ToYuv(const Pixel& pixel) {
    const unsigned int luma = Luma(pixel);
    return {static_cast<unsigned char>(luma >> 8), Chroma(pixel.blue, luma, 564),
            Chroma(pixel.red, luma, 713)};
}

/// Which of red, green and blue lies at a pixel of the sensor.
unsigned int Pixel::*FilterAt(BayerTileFormat bayer, unsigned int column, unsigned int row) {
    const bool oddColumn = (column & 1) != 0;
    const bool oddRow = (row & 1) != 0;
    const bool redColumn = oddColumn == (bayer == BAYER_GRBG || bayer == BAYER_BGGR);
    const bool redRow = oddRow == (bayer == BAYER_GBRG || bayer == BAYER_BGGR);
    return redColumn != redRow ? &Pixel::green : (redRow ? &Pixel::red : &Pixel::blue);
}

void PutSample16(unsigned int sample, unsigned char** ppOut) {
    *(*ppOut)++ = static_cast<unsigned char>(sample >> 8);
    *(*ppOut)++ = static_cast<unsigned char>(sample);
}

/// Writes four pixels in the formats whose pixels stand alone.
void EncodeSingly(const PictureSettings& settings, const Pixel* pixels, unsigned int row,
                  unsigned char* out) {
    for (unsigned int column = 0; column < kGroup; ++column) {
        const Pixel& pixel = pixels[column];
        switch (settings.format) {
            case PIXEL_FORMAT_MONO16:
                PutSample16(Luma(pixel), &out);
                break;
            case PIXEL_FORMAT_RAW8:
                *out++ = static_cast<unsigned char>(pixel.*FilterAt(settings.bayer, column, row) >> 8);
                break;
            case PIXEL_FORMAT_RAW16:
                PutSample16(pixel.*FilterAt(settings.bayer, column, row), &out);
                break;
            case PIXEL_FORMAT_RGB8:
                *out++ = static_cast<unsigned char>(pixel.red >> 8);
                *out++ = static_cast<unsigned char>(pixel.green >> 8);
                *out++ = static_cast<unsigned char>(pixel.blue >> 8);
                break;
            case PIXEL_FORMAT_YUV444: {
                const Yuv yuv = ToYuv(pixel);
                *out++ = yuv.u;
                *out++ = yuv.y;
                *out++ = yuv.v;
                break;
            }
            default:
                *out++ = static_cast<unsigned char>(Luma(pixel) >> 8);
                break;
        }
    }
}

/// Writes four pixels, in the byte orders of the IIDC standard.
void Encode(const PictureSettings& settings, const Pixel* pixels, unsigned int row, unsigned char* out) {
    if (settings.format != PIXEL_FORMAT_YUV411 && settings.format != PIXEL_FORMAT_YUV422) {
        EncodeSingly(settings, pixels, row, out);
        return;
    }
    const Yuv yuv[kGroup] = {ToYuv(pixels[0]), ToYuv(pixels[1]), ToYuv(pixels[2]), ToYuv(pixels[3])};
    if (settings.format == PIXEL_FORMAT_YUV411) {
        const unsigned char bytes[] = {yuv[0].u, yuv[0].y, yuv[1].y, yuv[0].v, yuv[2].y, yuv[3].y};
        std::memcpy(out, bytes, sizeof(bytes));
    } else {
        const unsigned char bytes[] = {yuv[0].u, yuv[0].y, yuv[0].v, yuv[1].y,
                                       yuv[2].u, yuv[2].y, yuv[2].v, yuv[3].y};
        std::memcpy(out, bytes, sizeof(bytes));
    }
}

/// Fills groups of four pixels with black or white.
class DigitPainter {
  public:
    DigitPainter(const PictureSettings& settings, unsigned char* data)
        : m_settings(settings),
          m_groupBytes(kGroup * GetBitsPerPixel(settings.format) / 8),
          m_stride(settings.width / kGroup * m_groupBytes),
          m_data(data) {
        const Pixel black[kGroup] = {};
        const Pixel full = {kFullSample, kFullSample, kFullSample};
        const Pixel white[kGroup] = {full, full, full, full};
        Encode(settings, black, 0, m_black);
        Encode(settings, white, 0, m_white);
    }

    /// Draws what fits into the picture.
    void Number(unsigned int number, unsigned int line) {
        const std::string digits = std::to_string(number);
        const unsigned int top = kDigitsTop + line * kDigitLinePitch * kDigitDotSize;
        for (std::size_t index = 0; index < digits.size(); ++index) {
            const auto left = static_cast<unsigned int>(kDigitsLeft + index * kDigitPitch * kDigitDotSize);
            if (left + kDigitPitch * kDigitDotSize > m_settings.width ||
                top + kDigitLinePitch * kDigitDotSize > m_settings.height) {
                return;
            }
            Digit(GetDigitDots(static_cast<unsigned int>(digits[index] - '0')), left, top);
        }
    }

  private:
    /// The digit with the black gap to its right and below it.
    void Digit(unsigned int dots, unsigned int left, unsigned int top) {
        for (unsigned int y = 0; y < kDigitLinePitch * kDigitDotSize; ++y) {
            unsigned char* out = m_data + (top + y) * m_stride + left / kGroup * m_groupBytes;
            const unsigned int row = y / kDigitDotSize;
            for (unsigned int column = 0; column < kDigitPitch; ++column, out += m_groupBytes) {
                const unsigned int bit = kDigitRows * kDigitColumns - 1 - (row * kDigitColumns + column);
                const bool isWhite = row < kDigitRows && column < kDigitColumns && (dots >> bit & 1) != 0;
                std::memcpy(out, isWhite ? m_white : m_black, m_groupBytes);
            }
        }
    }

    static constexpr std::size_t kMaxGroupBytes = 12;
    const PictureSettings& m_settings;
    const std::size_t m_groupBytes;
    const std::size_t m_stride;
    unsigned char* const m_data;
    unsigned char m_black[kMaxGroupBytes] = {};
    unsigned char m_white[kMaxGroupBytes] = {};
};
static_assert(kDigitDotSize == kGroup, "a dot is one group wide");

/// Turns and stretches colours around the grey of the same brightness.
class ColorTurn {
  public:
    explicit ColorTurn(const PictureSettings& settings)
        : m_isNeutral(settings.bayer == BAYER_NONE || (settings.hue == 0 && settings.saturation == 1)),
          m_cosine(settings.saturation * std::cos(settings.hue * kRadiansPerDegree)),
          m_sine(settings.saturation * std::sin(settings.hue * kRadiansPerDegree)) {}

    void Apply(Pixel* pPixel) const {
        if (m_isNeutral) {
            return;
        }
        const double luma = Luma(*pPixel);
        const double u = pPixel->blue - luma;
        const double v = pPixel->red - luma;
        const double blue = u * m_cosine - v * m_sine;
        const double red = u * m_sine + v * m_cosine;
        pPixel->blue = ToSample(luma + blue);
        pPixel->red = ToSample(luma + red);
        pPixel->green = ToSample(luma - (kRedShare * red + kBlueShare * blue) / kGreenShare);
    }

  private:
    static constexpr double kRadiansPerDegree = 3.14159265358979324 / 180;
    static constexpr double kRedShare = 0.299;  // of the brightness; as in Luma
    static constexpr double kGreenShare = 0.587;
    static constexpr double kBlueShare = 0.114;

    static unsigned int ToSample(double value) {
        return static_cast<unsigned int>(std::clamp(value, 0.0, static_cast<double>(kFullSample)));
    }

    const bool m_isNeutral;
    const double m_cosine;
    const double m_sine;
};

bool HaveSameStrips(const PictureSettings& left, const PictureSettings& right) {
    return left.width == right.width && left.format == right.format && left.bayer == right.bayer &&
           left.hue == right.hue && left.saturation == right.saturation && left.tones == right.tones;
}

}  // namespace

unsigned int GetDigitDots(unsigned int digit) {
    return kDigits[digit % 10];
}

void TestPicture::PaintStrip(const PictureSettings& settings, const ToneTable& tones, unsigned int row) {
    const bool isColor = settings.bayer != BAYER_NONE;
    const std::size_t groupBytes = kGroup * GetBitsPerPixel(settings.format) / 8;
    std::vector<unsigned char>& strip = m_strips[row];
    strip.resize((settings.width + kWave) / kGroup * groupBytes);
    unsigned char* out = strip.data();
    const ColorTurn turn(settings);
    for (unsigned int x = 0; x < settings.width + kWave; x += kGroup, out += groupBytes) {
        Pixel pixels[kGroup];
        for (unsigned int column = 0; column < kGroup; ++column) {
            const unsigned int phase = x + column;
            pixels[column].red = tones.channels[0][SceneAt(phase)];
            pixels[column].green = tones.channels[1][SceneAt(phase + (isColor ? kGreenPhase : 0))];
            pixels[column].blue = tones.channels[2][SceneAt(phase + (isColor ? kBluePhase : 0))];
            if (!IsRaw(settings.format)) {
                turn.Apply(&pixels[column]);
            }
        }
        Encode(settings, pixels, row, out);
    }
}

void TestPicture::Paint(const PictureSettings& settings, unsigned char* data) {
    if (m_strips[0].empty() || !HaveSameStrips(settings, m_painted)) {
        const ToneTable tones = MakeTones(settings.tones);
        PaintStrip(settings, tones, 0);
        PaintStrip(settings, tones, 1);
        m_painted = settings;
    }
    const std::size_t groupBytes = kGroup * GetBitsPerPixel(settings.format) / 8;
    const std::size_t stride = settings.width / kGroup * groupBytes;
    const bool isStill = settings.tones.pattern != TestPattern::kScene;
    for (unsigned int y = 0; y < settings.height; ++y) {
        const unsigned int row = settings.top + y;
        const unsigned int phase =
            settings.left / kGroup + row / kGroup + (isStill ? 0 : settings.frameNumber);
        const std::vector<unsigned char>& strip = m_strips[row & 1];
        std::memcpy(data + y * stride, strip.data() + phase % (kWave / kGroup) * groupBytes, stride);
    }
    DigitPainter digits(settings, data);
    digits.Number(settings.serialNumber, 0);
    digits.Number(settings.frameNumber, 1);
}

}  // namespace Zevrin
