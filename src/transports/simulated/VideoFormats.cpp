#include "VideoFormats.h"

namespace Zevrin {

const VideoMode kVideoModes[kVideoModeCount] = {
    {0, 0, 160, 120, PIXEL_FORMAT_YUV444},   {0, 1, 320, 240, PIXEL_FORMAT_YUV422},
    {0, 2, 640, 480, PIXEL_FORMAT_YUV411},   {0, 3, 640, 480, PIXEL_FORMAT_YUV422},
    {0, 4, 640, 480, PIXEL_FORMAT_RGB8},     {0, 5, 640, 480, PIXEL_FORMAT_MONO8},
    {0, 6, 640, 480, PIXEL_FORMAT_MONO16},   {1, 0, 800, 600, PIXEL_FORMAT_YUV422},
    {1, 1, 800, 600, PIXEL_FORMAT_RGB8},     {1, 2, 800, 600, PIXEL_FORMAT_MONO8},
    {1, 3, 1024, 768, PIXEL_FORMAT_YUV422},  {1, 4, 1024, 768, PIXEL_FORMAT_RGB8},
    {1, 5, 1024, 768, PIXEL_FORMAT_MONO8},   {1, 6, 800, 600, PIXEL_FORMAT_MONO16},
    {1, 7, 1024, 768, PIXEL_FORMAT_MONO16},  {2, 0, 1280, 960, PIXEL_FORMAT_YUV422},
    {2, 1, 1280, 960, PIXEL_FORMAT_RGB8},    {2, 2, 1280, 960, PIXEL_FORMAT_MONO8},
    {2, 3, 1600, 1200, PIXEL_FORMAT_YUV422}, {2, 4, 1600, 1200, PIXEL_FORMAT_RGB8},
    {2, 5, 1600, 1200, PIXEL_FORMAT_MONO8},  {2, 6, 1280, 960, PIXEL_FORMAT_MONO16},
    {2, 7, 1600, 1200, PIXEL_FORMAT_MONO16},
};

namespace {

constexpr double kFrameRates[kFrameRateCount] = {1.875, 3.75, 7.5, 15, 30, 60, 120, 240};
constexpr double kPacketsPerSecond = 8000;

// COLOR_CODING_ID n is the n-th pixel format after the unknown one.
static_assert(PIXEL_FORMAT_MONO8 == 1 && PIXEL_FORMAT_RGB8 == 5 && PIXEL_FORMAT_MONO16 == 6 &&
                  PIXEL_FORMAT_RAW8 == 10 && PIXEL_FORMAT_RAW16 == 11,
              "the pixel formats stand in the order of the standard's colour codings");

}  // namespace

const VideoMode* FindVideoMode(unsigned int format, unsigned int mode) {
    for (const VideoMode& candidate : kVideoModes) {
        if (candidate.format == format && candidate.mode == mode) {
            return &candidate;
        }
    }
    return nullptr;
}

bool IsModePresent(const VideoMode& mode, unsigned int sensorWidth, unsigned int sensorHeight, bool isColor) {
    const bool isMonoMode = mode.pixelFormat == PIXEL_FORMAT_MONO8 || mode.pixelFormat == PIXEL_FORMAT_MONO16;
    return mode.width <= sensorWidth && mode.height <= sensorHeight && (isColor || isMonoMode);
}

double GetStandardFrameRate(unsigned int rate) {
    return rate < kFrameRateCount ? kFrameRates[rate] : 0;
}

bool IsRatePresent(const VideoMode& mode, unsigned int rate) {
    return rate < kFrameRateCount &&
           static_cast<double>(GetImageSize(mode.width, mode.height, mode.pixelFormat)) * kFrameRates[rate] <=
               kMaxBytesPerPacket * kPacketsPerSecond;
}

unsigned int GetColorCoding(PixelFormat format) {
    return static_cast<unsigned int>(format) - 1;
}

PixelFormat GetPixelFormatOfCoding(unsigned int coding) {
    return coding < PIXEL_FORMAT_RAW16 ? static_cast<PixelFormat>(coding + 1) : PIXEL_FORMAT_UNKNOWN;
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

unsigned int GetSampleDepth(PixelFormat format) {
    return format == PIXEL_FORMAT_MONO16 || format == PIXEL_FORMAT_RAW16 ? 16 : 8;
}

std::size_t GetImageSize(unsigned int width, unsigned int height, PixelFormat format) {
    return static_cast<std::size_t>(width) * height * GetBitsPerPixel(format) / 8;
}

}  // namespace Zevrin
