#pragma once

#include <algorithm>
#include <cstddef>

#include "PixelRows.h"

namespace Zevrin {

// The loops over the pixels of a row, named by the table of row layouts. Samples go through 16 bits: those of
// 8 bits are multiplied by 257, others repeat their own highest bits below, and both come back exactly.

constexpr unsigned int kSampleBits = 16;
constexpr int kMaxSample = 0xFFFF;

inline unsigned short FromByte(unsigned char value) {
    return static_cast<unsigned short>(value * 257U);
}

/// Rounds v / 257.
inline unsigned char ToByte(unsigned int sample) {
    return static_cast<unsigned char>((sample - (sample >> 8) + 128) >> 8);
}

inline unsigned short Widen(unsigned int value, unsigned int bits) {
    const unsigned int bounded = std::min(value, (1U << bits) - 1);
    return static_cast<unsigned short>(bounded << (kSampleBits - bits) | bounded >> (2 * bits - kSampleBits));
}

template <unsigned int kChannels>
void DecodeBytes(const unsigned char* in, std::size_t pixels, SampleForm, unsigned short* out) {
    std::transform(in, in + pixels * kChannels, out, FromByte);
}

template <unsigned int kChannels>
void EncodeBytes(const unsigned short* in, std::size_t pixels, SampleForm, unsigned char* out) {
    std::transform(in, in + pixels * kChannels, out, ToByte);
}

inline void DecodeBgr(const unsigned char* in, std::size_t pixels, SampleForm, unsigned short* out) {
    for (const unsigned char* const end = in + 3 * pixels; in != end; in += 3, out += 3) {
        out[0] = FromByte(in[2]);
        out[1] = FromByte(in[1]);
        out[2] = FromByte(in[0]);
    }
}

inline void EncodeBgr(const unsigned short* in, std::size_t pixels, SampleForm, unsigned char* out) {
    for (const unsigned short* const end = in + 3 * pixels; in != end; in += 3, out += 3) {
        out[0] = ToByte(in[2]);
        out[1] = ToByte(in[1]);
        out[2] = ToByte(in[0]);
    }
}

template <unsigned int kChannels>
void DecodeWords(const unsigned char* in, std::size_t pixels, SampleForm form, unsigned short* out) {
    const unsigned int high = form.isBigEndian ? 0 : 1;
    for (std::size_t index = 0; index < pixels * kChannels; ++index, in += 2) {
        out[index] = Widen(static_cast<unsigned int>(in[high] << 8 | in[1 - high]), form.bits);
    }
}

template <unsigned int kChannels>
void EncodeWords(const unsigned short* in, std::size_t pixels, SampleForm form, unsigned char* out) {
    const unsigned int high = form.isBigEndian ? 0 : 1;
    for (std::size_t index = 0; index < pixels * kChannels; ++index, out += 2) {
        const unsigned int value = in[index] >> (kSampleBits - form.bits);
        out[high] = static_cast<unsigned char>(value >> 8);
        out[1 - high] = static_cast<unsigned char>(value);
    }
}

/// Two pixels in three bytes as GigE Vision packs them: the high eight bits of the first, the low bits of
/// both (the first's in the lower half), the high eight bits of the second.
template <unsigned int kBits>
void DecodePacked(const unsigned char* in, std::size_t pixels, SampleForm, unsigned short* out) {
    constexpr unsigned int kLowBits = kBits - 8;
    constexpr unsigned int kLowMask = (1U << kLowBits) - 1;
    for (std::size_t index = 0; index < pixels; ++index) {
        const unsigned char* const group = in + index / 2 * 3;
        const bool isSecond = index % 2 != 0;
        const unsigned int low = static_cast<unsigned int>(group[1]) >> (isSecond ? 4 : 0) & kLowMask;
        out[index] = Widen(static_cast<unsigned int>(group[isSecond ? 2 : 0]) << kLowBits | low, kBits);
    }
}

template <unsigned int kBits>
void EncodePacked(const unsigned short* in, std::size_t pixels, SampleForm, unsigned char* out) {
    constexpr unsigned int kLowBits = kBits - 8;
    constexpr unsigned int kLowMask = (1U << kLowBits) - 1;
    for (std::size_t index = 0; index < pixels; index += 2, out += 3) {
        const unsigned int first = static_cast<unsigned int>(in[index]) >> (kSampleBits - kBits);
        const bool isPair = index + 1 < pixels;
        const unsigned int second =
            isPair ? static_cast<unsigned int>(in[index + 1]) >> (kSampleBits - kBits) : 0;
        out[0] = static_cast<unsigned char>(first >> kLowBits);
        out[1] = static_cast<unsigned char>((first & kLowMask) | (second & kLowMask) << 4);
        if (isPair) {
            out[2] = static_cast<unsigned char>(second >> kLowBits);
        }
    }
}

/// Where a group of pixels that shares its colour has its bytes, in the order of the IIDC standard.
struct Yuv444 {
    static constexpr unsigned int kU = 0, kV = 2, kY[] = {1};
};
struct Yuv422 {
    static constexpr unsigned int kU = 0, kV = 2, kY[] = {1, 3};
};
struct Yuv411 {
    static constexpr unsigned int kU = 0, kV = 3, kY[] = {1, 2, 4, 5};
};

// ITU-R BT.601 in full range. Brightness in 1/65536; colour differences of 8 bits to samples of 16 in 1/256.
constexpr unsigned int kLumaOfRed = 19595;
constexpr unsigned int kLumaOfGreen = 38470;
constexpr unsigned int kLumaOfBlue = 7471;
constexpr int kRedOfV = 92240;
constexpr int kGreenOfU = 22641;
constexpr int kGreenOfV = 46984;
constexpr int kBlueOfU = 116583;
constexpr int kUOfBlue = 36962;  // in 1/65536
constexpr int kVOfRed = 46727;

inline unsigned short LumaOf(const unsigned short* rgb) {
    return static_cast<unsigned short>(
        (kLumaOfRed * rgb[0] + kLumaOfGreen * rgb[1] + kLumaOfBlue * rgb[2] + 0x8000) >> 16);
}

inline unsigned short ToSample(int value) {
    return static_cast<unsigned short>(std::clamp(value, 0, kMaxSample));
}

/// @param difference  of a colour and the brightness, both of 16 bits
inline unsigned char ToChroma(int difference, int share) {
    const long long scaled = (static_cast<long long>(difference) * share / 257 + 0x8000) >> 16;
    return static_cast<unsigned char>(std::clamp(128 + static_cast<int>(scaled), 0, 255));
}

template <typename Order>
void DecodeYuv(const unsigned char* in, std::size_t pixels, SampleForm, unsigned short* out) {
    constexpr std::size_t kGroup = std::size(Order::kY);
    constexpr std::size_t kGroupBytes = kGroup + 2;
    for (std::size_t index = 0; index < pixels; index += kGroup, in += kGroupBytes) {
        const int u = in[Order::kU] - 128;
        const int v = in[Order::kV] - 128;
        const std::size_t count = std::min(kGroup, pixels - index);
        for (std::size_t pixel = 0; pixel < count; ++pixel, out += 3) {
            const int luma = FromByte(in[Order::kY[pixel]]);
            out[0] = ToSample(luma + (v * kRedOfV + 128) / 256);
            out[1] = ToSample(luma - (u * kGreenOfU + v * kGreenOfV + 128) / 256);
            out[2] = ToSample(luma + (u * kBlueOfU + 128) / 256);
        }
    }
}

/// The pixels of a group share their mean colour; those that the row lacks repeat its last.
template <typename Order>
void EncodeYuv(const unsigned short* in, std::size_t pixels, SampleForm, unsigned char* out) {
    constexpr std::size_t kGroup = std::size(Order::kY);
    constexpr std::size_t kGroupBytes = kGroup + 2;
    for (std::size_t index = 0; index < pixels; index += kGroup, out += kGroupBytes) {
        int blue = 0;
        int red = 0;
        for (std::size_t pixel = 0; pixel < kGroup; ++pixel) {
            const unsigned short* const rgb = in + 3 * std::min(index + pixel, pixels - 1);
            const int luma = LumaOf(rgb);
            out[Order::kY[pixel]] = ToByte(static_cast<unsigned int>(luma));
            red += rgb[0] - luma;
            blue += rgb[2] - luma;
        }
        out[Order::kU] = ToChroma(blue / static_cast<int>(kGroup), kUOfBlue);
        out[Order::kV] = ToChroma(red / static_cast<int>(kGroup), kVOfRed);
    }
}

}  // namespace Zevrin
