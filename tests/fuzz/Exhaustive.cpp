#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <future>
#include <thread>
#include <vector>

#include "CameraInternal.h"

namespace {

/// What the processor makes of the pattern, with the stand-ins for what is no number.
double Expect(std::uint32_t raw) {
    float value = 0;
    std::memcpy(&value, &raw, sizeof value);
    if (!std::isfinite(value)) {
        return value < 0 ? -99999.0 : 99999.0;
    }
    return value == 0 ? 0.0 : static_cast<double>(value);
}

std::uint64_t CountWrong(std::uint64_t begin, std::uint64_t end) {
    std::uint64_t wrong = 0;
    for (std::uint64_t pattern = begin; pattern < end; ++pattern) {
        const auto raw = static_cast<std::uint32_t>(pattern);
        const double actual = Zevrin::CameraInternal::Convert32bitIEEEToFloat(raw);
        const double expected = Expect(raw);
        if (std::memcmp(&actual, &expected, sizeof actual) != 0 && wrong++ < 10) {  // the signs of zeros too
            std::fprintf(stderr, "0x%08X is %.17g and should be %.17g\n", raw, actual, expected);
        }
    }
    return wrong;
}

}  // namespace

/// Compares the conversion of single-precision patterns with the processor's own, for each of them.
int main() {
    constexpr std::uint64_t kPatterns = std::uint64_t{1} << 32;
    const std::uint64_t count = std::max(1U, std::thread::hardware_concurrency());
    std::vector<std::future<std::uint64_t>> parts;
    for (std::uint64_t index = 0; index < count; ++index) {
        parts.push_back(std::async(std::launch::async, CountWrong, kPatterns * index / count,
                                   kPatterns * (index + 1) / count));
    }
    std::uint64_t total = 0;
    for (auto& part : parts) {
        total += part.get();
    }
    std::printf("%llu patterns compared, %llu differ\n", static_cast<unsigned long long>(kPatterns),
                static_cast<unsigned long long>(total));
    return total == 0 ? 0 : 1;
}
