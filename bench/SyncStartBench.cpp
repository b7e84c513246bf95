#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <zevrin/CameraSystem.h>
#include <zevrin/IidcCamera.h>
#include <zevrin/Image.h>
#include <zevrin/Simulation.h>

#include "Measure.h"

namespace {

using namespace Zevrin;

constexpr double kPeriodMs = 10;
constexpr double kPauseMs = 550;
constexpr double kMicrosecondsPerTick = 1e6 / 24576000.0;

/// What no start can be faster than: ten frames to drain, the pause, and the frame that is compared.
constexpr double kFloorMs = 10 * kPeriodMs + kPauseMs + kPeriodMs;
constexpr double kMostOfFloor = 1.05;

/// Cameras on one simulated bus, all connected, whose register writes take `writeLatencyUs`.
class Bus {
  public:
    Bus(int cameraCount, int writeLatencyUs) {
        const std::string description =
            R"({"cameras": [{"count": )" + std::to_string(cameraCount) +
            R"(, "width": 64, "height": 48, "paint": false, "frameRate": 100, "exposureUs": 20,
               "faults": {"registers": {"writeLatencyUs": )" +
            std::to_string(writeLatencyUs) + "}}}]}";
        std::vector<CameraListing> listings;
        m_error = Simulation::FromJson(description, &m_pSimulation);
        if (m_error == ERR_OK) {
            m_error = m_system.List(&listings);
        }
        for (const CameraListing& listing : listings) {
            boost::shared_ptr<IidcCamera> pCamera;
            if (m_error == ERR_OK) {
                m_error = m_system.Connect(listing.serialNumber, &pCamera);
                m_cameras.push_back(pCamera);
            }
        }
    }

    Error Start() const {
        return m_error != ERR_OK
                   ? m_error
                   : CameraInternal::StartSyncCapture(static_cast<unsigned int>(m_cameras.size()), m_cameras,
                                                      nullptr, nullptr);
    }

    /// Microseconds between the first and the last switch-on write, as the next image of each camera shows.
    double GetSpread() const {
        std::vector<long long> ticks;
        for (const auto& pCamera : m_cameras) {
            Image image;
            if (pCamera->RetrieveBuffer(&image) == ERR_OK) {
                const TimeStamp stamp = image.GetTimeStamp();
                ticks.push_back((stamp.cycleSeconds * 8000LL + stamp.cycleCount) * 3072 + stamp.cycleOffset);
            }
        }
        const auto ends = std::minmax_element(ticks.begin(), ticks.end());
        return ticks.empty() ? 0 : static_cast<double>(*ends.second - *ends.first) * kMicrosecondsPerTick;
    }

    void Stop() const {
        for (const auto& pCamera : m_cameras) {
            const Error ignored = pCamera->StopCapture();  // a failed start has stopped it already
        }
    }

  private:
    Error m_error;
    boost::shared_ptr<Simulation> m_pSimulation;
    CameraSystem m_system;
    std::vector<boost::shared_ptr<CameraInternal>> m_cameras;
};

/// Columns: the whole start against its floor; the share of starts that end in step; of those the median
/// spread of the switch-on writes, and how much of it is not the latency of the bus but the machine's own.
void SyncStart(benchmark::State& state) {
    const int cameras = static_cast<int>(state.range(0));
    const int latencyUs = static_cast<int>(state.range(1));
    const Bus bus(cameras, latencyUs);
    double inStep = 0;
    double wholeMs = 0;
    std::vector<double> spreads;
    for (auto round : state) {
        const auto begin = std::chrono::steady_clock::now();
        const Error error = bus.Start();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(took.count());
        wholeMs += took.count() * 1e3;
        if (error == ERR_OK) {
            ++inStep;
            spreads.push_back(bus.GetSpread());
        } else if (error != ERR_ISOCH_SYNC_FAILED) {
            state.SkipWithError(error.GetDescription());
            break;
        }
        bus.Stop();
    }
    const double rounds = static_cast<double>(state.iterations());
    ZevrinBench::ShowRatio(state, wholeMs / rounds / kFloorMs, kMostOfFloor);
    state.counters["in_step"] = inStep / rounds;
    if (!spreads.empty()) {
        std::sort(spreads.begin(), spreads.end());
        const double spread = spreads[spreads.size() / 2];
        state.counters["spread_us"] = spread;
        state.counters["machine_us"] = std::max(0.0, spread - latencyUs * (cameras - 1));
    }
}

BENCHMARK(SyncStart)
    ->ArgNames({"cameras", "latency_us"})
    ->ArgsProduct({{1, 4, 16, 64}, {0, 20, 50}})
    ->Iterations(10)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
