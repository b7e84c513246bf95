#include <benchmark/benchmark.h>
#include <sched.h>

#include <string>
#include <vector>

#include <zevrin/ImageConversion.h>

namespace {

using namespace Zevrin;

constexpr unsigned int kWidth = 1920;
constexpr unsigned int kHeight = 1200;

/// OpenCV would share the work among all processors, and the camera's threads have to live too. What is
/// measured later in the same run has all of them again.
class OnOneCore {
  public:
    OnOneCore() {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
        if (sched_getaffinity(0, sizeof m_before, &m_before) != 0 ||
            sched_setaffinity(0, sizeof one, &one) != 0) {
            benchmark::AddCustomContext("cores", "this thread could not be kept on one");
        }
    }
    ~OnOneCore() { sched_setaffinity(0, sizeof m_before, &m_before); }
    OnOneCore(const OnOneCore&) = delete;
    OnOneCore& operator=(const OnOneCore&) = delete;

  private:
    cpu_set_t m_before{};
};

void Convert(benchmark::State& state, PixelFormat from, PixelFormat to) {
    const OnOneCore onOneCore;
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
