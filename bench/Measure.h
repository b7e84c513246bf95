#pragma once

#include <benchmark/benchmark.h>
#include <sched.h>
#include <time.h>

#include <functional>
#include <string>
#include <vector>

#include "CameraInternal.h"
#include "zevrin/Error.h"

namespace ZevrinBench {

/// Seconds of a clock of the system: CLOCK_MONOTONIC, CLOCK_THREAD_CPUTIME_ID, CLOCK_PROCESS_CPUTIME_ID.
double Now(clockid_t clock);

double Median(std::vector<double> values);

/// What one call of a side costs: the median of its rounds, in seconds.
struct Cost {
    double processor = 0;  ///< of the threads that call
    double wall = 0;       ///< from the first thread's begin to the last one's end, for each call of a thread
};

/// A batch of calls, on the thread of this number.
using Side = std::function<void(int thread)>;

/// Lets each side make its batch in turn, round after round, so that what else the machine does hits all
/// alike. All threads make the same side's batch at a time.
/// @param batch  calls in a batch, on each thread
std::vector<Cost> MeasureInTurn(int rounds, int threads, int batch, const std::vector<Side>& sides);

/// Keeps the calling thread, and what it starts meanwhile, on one processor. What is measured later in the
/// same run has all of them again.
class OnOneCore {
  public:
    OnOneCore();
    ~OnOneCore() { sched_setaffinity(0, sizeof m_before, &m_before); }
    OnOneCore(const OnOneCore&) = delete;
    OnOneCore& operator=(const OnOneCore&) = delete;

  private:
    cpu_set_t m_before{};
};

/// Shows a ratio of two sides beside the most that it shall be, and whether it is.
void ShowRatio(benchmark::State& state, double ratio, double target);

/// Runs of registers against single ones, read and written: their time for each run, and the ratios.
void MeasureRuns(benchmark::State& state, Zevrin::CameraInternal& camera, unsigned short addressHigh,
                 unsigned int addressLow, unsigned int length);

/// Ends the program: what measures inside of a batch has nothing better to do.
void Require(const Zevrin::Error& error);

}  // namespace ZevrinBench
