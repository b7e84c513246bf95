#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include <zevrin/ImageConversion.h>

#include "Measure.h"

namespace {

using namespace Zevrin;

constexpr unsigned int kWidth = 1920;
constexpr unsigned int kHeight = 1200;

void Convert(benchmark::State& state, PixelFormat from, PixelFormat to) {
    // OpenCV would share the work among all processors, and the camera's threads have to live too.
    const ZevrinBench::OnOneCore onOneCore;
    std::vector<unsigned char> noise(std::size_t{kWidth} * kHeight * GetBitsPerPixel(from) / 8);
    unsigned int random = 1;
    for (unsigned char& byte : noise) {
        random = random * 1664525U + 1013904223U;
        byte = static_cast<unsigned char>(random >> 24);
    }
    PixelView view;
    view.data = noise.data();
    view.size = noise.size();
    view.width = kWidth;
    view.height = kHeight;
    view.stride = noise.size() / kHeight;
    view.pixelFormat = from;
    view.bayerTileFormat = BAYER_RGGB;
    PixelBuffer result;
    for (auto round : state) {
        const Error error = ConvertPixels(view, {to, false, BAYER_NONE}, &result);
        if (error != ERR_OK) {
            state.SkipWithError(error.GetDescription());
            break;
        }
        benchmark::DoNotOptimize(result.bytes.data());
    }
    state.counters["pixels"] = benchmark::Counter(static_cast<double>(state.iterations()) * kWidth * kHeight,
                                                  benchmark::Counter::kIsRate);
}

BENCHMARK_CAPTURE(Convert, Raw8ToRgb8, PIXEL_FORMAT_RAW8, PIXEL_FORMAT_RGB8);
BENCHMARK_CAPTURE(Convert, Raw8ToBgr8, PIXEL_FORMAT_RAW8, PIXEL_FORMAT_BGR8);
BENCHMARK_CAPTURE(Convert, Raw16ToRgb8, PIXEL_FORMAT_RAW16, PIXEL_FORMAT_RGB8);
BENCHMARK_CAPTURE(Convert, Raw16ToRgb16, PIXEL_FORMAT_RAW16, PIXEL_FORMAT_RGB16);
BENCHMARK_CAPTURE(Convert, Yuv422ToRgb8, PIXEL_FORMAT_YUV422, PIXEL_FORMAT_RGB8);
BENCHMARK_CAPTURE(Convert, Yuv411ToRgb8, PIXEL_FORMAT_YUV411, PIXEL_FORMAT_RGB8);
BENCHMARK_CAPTURE(Convert, Mono12PackedToMono16, PIXEL_FORMAT_MONO12_PACKED, PIXEL_FORMAT_MONO16);
BENCHMARK_CAPTURE(Convert, Mono16ToMono8, PIXEL_FORMAT_MONO16, PIXEL_FORMAT_MONO8);

}  // namespace
