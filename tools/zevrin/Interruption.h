#pragma once

#include <chrono>

namespace ZevrinTool {

/// From now on the first SIGINT or SIGTERM ends the work in good order, and a second one the program.
void CatchInterruptions();

bool IsInterrupted();

/// From now on SIGUSR1 is counted: another program's word that something begins.
void CatchTriggers();
unsigned long long CountTriggers();

/// Returns early when it is interrupted.
void WaitFor(std::chrono::milliseconds duration);

/// The time so many seconds from now.
std::chrono::steady_clock::time_point TimeAfter(double seconds);

}  // namespace ZevrinTool
