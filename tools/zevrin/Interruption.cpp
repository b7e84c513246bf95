#include "Interruption.h"

#include <signal.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace ZevrinTool {

namespace {

constexpr std::chrono::milliseconds kLookInterval(50);

std::atomic<bool> s_interrupted{false};
std::atomic<unsigned long long> s_triggers{0};

}  // namespace

void CatchInterruptions() {
    struct sigaction action = {};
    action.sa_handler = [](int) { s_interrupted = true; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool IsInterrupted() {
    return s_interrupted;
}

void CatchTriggers() {
    struct sigaction action = {};
    action.sa_handler = [](int) { ++s_triggers; };
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR1, &action, nullptr);
}

unsigned long long CountTriggers() {
    return s_triggers;
}

std::chrono::steady_clock::time_point TimeAfter(double seconds) {
    using Clock = std::chrono::steady_clock;
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

void WaitFor(std::chrono::milliseconds duration) {
    const auto end = std::chrono::steady_clock::now() + duration;
    for (auto left = duration; left.count() > 0 && !s_interrupted;) {
        std::this_thread::sleep_for(std::min(left, kLookInterval));
        left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    }
}

}  // namespace ZevrinTool
