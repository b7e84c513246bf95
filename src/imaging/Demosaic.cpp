#include "Demosaic.h"

#include "Failure.h"

#ifdef ZEVRIN_WITH_OPENCV

#include <algorithm>
#include <exception>
#include <limits>
#include <new>
#include <opencv2/imgproc.hpp>

#include "FormatText.h"

namespace Zevrin {

namespace {

// Below this OpenCV has no inner pixels, and gives black.
constexpr unsigned int kMinInner = 3;
constexpr unsigned int kMaxSide = std::numeric_limits<int>::max() / 8;  // bytes of a row are an int there
constexpr int kBorder = 2;                                              // a whole tile: the phase stays

/// Not named after the tile: older versions call it by the second row and column.
constexpr cv::ColorConversionCodes kToRgb[] = {cv::COLOR_BayerBG2RGB, cv::COLOR_BayerGB2RGB,
                                               cv::COLOR_BayerGR2RGB, cv::COLOR_BayerRG2RGB};
constexpr cv::ColorConversionCodes kToBgr[] = {cv::COLOR_BayerBG2BGR, cv::COLOR_BayerGB2BGR,
                                               cv::COLOR_BayerGR2BGR, cv::COLOR_BayerRG2BGR};
static_assert(BAYER_RGGB == 1 && BAYER_GRBG == 2 && BAYER_GBRG == 3 && BAYER_BGGR == 4, "the order above");

void Interpolate(const MosaicWork& work) {
    const int width = static_cast<int>(work.width);
    const int height = static_cast<int>(work.height);
    const int depth = work.bits == 8 ? CV_8U : CV_16U;
    // OpenCV does not write to a source.
    const cv::Mat mosaic(height, width, CV_MAKETYPE(depth, 1), const_cast<void*>(work.mosaic),
                         work.mosaicStride);
    cv::Mat colors(height, width, CV_MAKETYPE(depth, 3), work.colors, work.colorStride);
    const int code = (work.isBgr ? kToBgr : kToRgb)[work.tile - 1];
    if (std::min(work.width, work.height) >= kMinInner) {
        cv::cvtColor(mosaic, colors, code);
        return;
    }
    cv::Mat wide;
    cv::Mat wideColors;
    cv::copyMakeBorder(mosaic, wide, kBorder, kBorder, kBorder, kBorder, cv::BORDER_REFLECT_101);
    cv::cvtColor(wide, wideColors, code);
    wideColors(cv::Rect(kBorder, kBorder, width, height)).copyTo(colors);
}

}  // namespace

Error Demosaic(const MosaicWork& work) {
    if (work.tile < BAYER_RGGB || work.tile > BAYER_BGGR) {
        return Failure(ERR_INVALID_PARAMETER, "The order of the colour filters is not known.");
    }
    if (std::min(work.width, work.height) < 2 || std::max(work.width, work.height) > kMaxSide) {
        return Failure(ERR_NOT_SUPPORTED,
                       "A raw mosaic of %u x %u pixels has no colours; 2 x 2 to %u x %u have.", work.width,
                       work.height, kMaxSide, kMaxSide);
    }
    try {
        Interpolate(work);
    } catch (const std::bad_alloc&) {
        return Failure(ERR_OUT_OF_MEMORY, "There is no memory for the colours of a raw mosaic.");
    } catch (const std::exception& problem) {
        return Failure(ERR_FAILED, "The raw mosaic could not be converted: %s",
                       Printable(problem.what()).c_str());
    }
    return Error();
}

}  // namespace Zevrin

#else

namespace Zevrin {

Error Demosaic(const MosaicWork&) {
    return Failure(
        ERR_NOT_SUPPORTED,
        "Raw mosaics become colours by OpenCV (libopencv-imgproc-dev), which this library was built "
        "without.");
}

}  // namespace Zevrin

#endif
