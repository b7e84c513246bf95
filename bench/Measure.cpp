#include "Measure.h"

#include <algorithm>
#include <boost/thread/barrier.hpp>
#include <boost/thread/thread.hpp>
#include <cstdio>
#include <cstdlib>

namespace ZevrinBench {

namespace {

/// When one thread was at its batch.
struct Span {
    double begin = 0;
    double end = 0;
    double processor = 0;
};

Cost Combine(const std::vector<Span>& spans, int batch) {
    Span whole = spans.front();
    whole.processor = 0;
    for (const Span& span : spans) {
        whole.begin = std::min(whole.begin, span.begin);
        whole.end = std::max(whole.end, span.end);
        whole.processor += span.processor;
    }
    return {whole.processor / static_cast<double>(spans.size()) / batch, (whole.end - whole.begin) / batch};
}

}  // namespace

double Now(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::vector<Cost> MeasureInTurn(int rounds, int threads, int batch, const std::vector<Side>& sides) {
    const auto count = static_cast<std::size_t>(threads);
    std::vector<std::vector<double>> processor(sides.size());
    std::vector<std::vector<double>> wall(sides.size());
    std::vector<Span> spans(count);
    boost::barrier barrier(static_cast<unsigned int>(threads));
    const auto work = [&](int thread) {
        const auto index = static_cast<std::size_t>(thread);
        for (int round = -1; round < rounds; ++round) {  // the first one warms up
            for (std::size_t side = 0; side < sides.size(); ++side) {
                barrier.wait();
                const double processorBefore = Now(CLOCK_THREAD_CPUTIME_ID);
                const double begin = Now(CLOCK_MONOTONIC);
                sides[side](thread);
                const double end = Now(CLOCK_MONOTONIC);
                spans[index] = {begin, end, Now(CLOCK_THREAD_CPUTIME_ID) - processorBefore};
                barrier.wait();
                if (thread == 0 && round >= 0) {  // the others wait for it before they measure again
                    const Cost cost = Combine(spans, batch);
                    processor[side].push_back(cost.processor);
                    wall[side].push_back(cost.wall);
                }
            }
        }
    };
    boost::thread_group others;
    for (int thread = 1; thread < threads; ++thread) {
        others.create_thread([&work, thread] { work(thread); });
    }
    work(0);
    others.join_all();
    std::vector<Cost> costs;
    for (std::size_t side = 0; side < sides.size(); ++side) {
        costs.push_back({Median(processor[side]), Median(wall[side])});
    }
    return costs;
}

OnOneCore::OnOneCore() {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
    if (sched_getaffinity(0, sizeof m_before, &m_before) != 0 ||
        sched_setaffinity(0, sizeof one, &one) != 0) {
        benchmark::AddCustomContext("cores", "a thread could not be kept on one");
    }
}

void ShowRatio(benchmark::State& state, double ratio, double target) {
    state.counters["ratio"] = ratio;
    state.counters["target"] = target;
    state.SetLabel(ratio <= target ? "met" : "MISSED");
}

void MeasureRuns(benchmark::State& state, Zevrin::CameraInternal& camera, unsigned short addressHigh,
                 unsigned int addressLow, unsigned int length) {
    std::vector<unsigned int> values(length);
    const auto singly = [&](const auto& access) {
        return [&, access](int) {
            for (unsigned int index = 0; index < length; ++index) {
                Require(access(addressLow + 4 * index, &values[index], 1U));
            }
        };
    };
    const auto atOnce = [&](const auto& access) {
        return [&, access](int) { Require(access(addressLow, values.data(), length)); };
    };
    const auto read = [&](unsigned int address, unsigned int* pValues, unsigned int count) {
        return camera.ReadRegisterBlock(addressHigh, address, pValues, count);
    };
    const auto write = [&](unsigned int address, const unsigned int* pValues, unsigned int count) {
        return camera.WriteRegisterBlock(addressHigh, address, pValues, count);
    };
    for (auto round : state) {
        const std::vector<Cost> costs =
            MeasureInTurn(101, 1, 1, {atOnce(read), singly(read), atOnce(write), singly(write)});
        state.SetIterationTime(costs[0].wall);
        state.counters["registers"] = length;
        state.counters["read_singly_us"] = costs[1].wall * 1e6;
        state.counters["write_us"] = costs[2].wall * 1e6;
        state.counters["write_singly_us"] = costs[3].wall * 1e6;
        state.counters["read_ratio"] = costs[0].wall / costs[1].wall;
        state.counters["write_ratio"] = costs[2].wall / costs[3].wall;
    }
}

void Require(const Zevrin::Error& error) {
    if (error != Zevrin::ERR_OK) {
        std::fprintf(stderr, "%s\n", error.GetTrace().c_str());
        std::exit(EXIT_FAILURE);
    }
}

}  // namespace ZevrinBench
