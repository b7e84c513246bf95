#pragma once

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iostream>
#include <string>
#include <thread>

#include "Interruption.h"

namespace ZevrinTool {

/// One line, for each camera as long as there is room.
template <typename Grabbers>
void ShowProgress(const Grabbers& grabbers, unsigned int count) {
    constexpr std::size_t kProgressWidth = 79;
    std::string line;
    unsigned long long sum = 0;
    for (const auto& pGrabber : grabbers) {
        sum += pGrabber->CountFrames();
        line += std::to_string(pGrabber->GetSerialNumber()) + ": " + std::to_string(pGrabber->CountFrames()) +
                "/" + std::to_string(count) + "  ";
    }
    if (line.size() > kProgressWidth) {
        line = std::to_string(grabbers.size()) + " cameras: " + std::to_string(sum) + "/" +
               std::to_string(1ULL * count * grabbers.size());
    }
    std::cerr << "\r" + line << std::flush;
}

/// Waits until all cameras have grabbed, and shows on a terminal how far they are. An interruption stops
/// them.
template <typename Grabbers>
void WaitForAll(const Grabbers& grabbers, unsigned int count) {
    constexpr std::chrono::milliseconds kLookInterval(50);
    const bool onTerminal = isatty(STDERR_FILENO) == 1;
    const auto isDone = [](const auto& pGrabber) { return pGrabber->IsDone(); };
    while (!std::all_of(grabbers.begin(), grabbers.end(), isDone)) {
        if (IsInterrupted()) {
            std::for_each(grabbers.begin(), grabbers.end(), [](const auto& pGrabber) { pGrabber->Stop(); });
        }
        if (onTerminal) {
            ShowProgress(grabbers, count);
        }
        std::this_thread::sleep_for(kLookInterval);
    }
    if (onTerminal) {
        std::cerr << "\r\x1b[K" << std::flush;  // the table takes the line's place
    }
}

}  // namespace ZevrinTool
