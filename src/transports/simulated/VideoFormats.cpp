#include "VideoFormats.h"

namespace Zevrin {

namespace {

constexpr double kFrameRates[kStandardFrameRateCount] = {1.875, 3.75, 7.5, 15, 30, 60, 120, 240};
}  // namespace

const StandardMode* FindStandardMode(unsigned int format, unsigned int mode) {
    for (const StandardMode& candidate : kStandardModes) {
        if (candidate.format == format && candidate.mode == mode) {
            return &candidate;
        }
    }
    return nullptr;
}

bool IsModePresent(const StandardMode& mode, unsigned int sensorWidth, unsigned int sensorHeight,
                   bool isColor) {
    const bool isMonoMode = mode.pixelFormat == PIXEL_FORMAT_MONO8 || mode.pixelFormat == PIXEL_FORMAT_MONO16;
    return mode.width <= sensorWidth && mode.height <= sensorHeight && (isColor || isMonoMode);
}

double GetStandardFrameRate(unsigned int rate) {
    return rate < kStandardFrameRateCount ? kFrameRates[rate] : 0;
}

bool IsRatePresent(const StandardMode& mode, unsigned int rate) {
    return rate < kStandardFrameRateCount &&
           static_cast<double>(GetImageSize(mode.width, mode.height, mode.pixelFormat)) * kFrameRates[rate] <=
               kMaxBytesPerPacket * kPacketsPerSecond;
}

bool IsCodingPresent(PixelFormat format, bool isColor) {
    switch (format) {
        case PIXEL_FORMAT_MONO8:
        case PIXEL_FORMAT_MONO16:
            return true;
        case PIXEL_FORMAT_YUV411:
        case PIXEL_FORMAT_YUV422:
        case PIXEL_FORMAT_YUV444:
        case PIXEL_FORMAT_RGB8:
        case PIXEL_FORMAT_RAW8:
        case PIXEL_FORMAT_RAW16:
            return isColor;
        default:
            return false;
    }
}

bool IsRaw(PixelFormat format) {
    return format == PIXEL_FORMAT_RAW8 || format == PIXEL_FORMAT_RAW16;
}

unsigned int GetSampleDepth(PixelFormat format) {
    return format == PIXEL_FORMAT_MONO16 || format == PIXEL_FORMAT_RAW16 ? 16 : 8;
}

std::size_t GetImageSize(unsigned int width, unsigned int height, PixelFormat format) {
    return static_cast<std::size_t>(width) * height * GetBitsPerPixel(format) / 8;
}

}  // namespace Zevrin
