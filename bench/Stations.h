#pragma once

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "OpenCamera.h"
#include "zevrin/CameraSystem.h"
#include "zevrin/Simulation.h"

namespace ZevrinBench {

/// Simulated cameras, and a connected object for each.
struct SimulatedCameras {
    explicit SimulatedCameras(const std::string& description) {
        Require(Zevrin::Simulation::FromJson(description, &pSimulation));
        std::vector<Zevrin::CameraListing> listings;
        Require(system.List(&listings));
        for (const Zevrin::CameraListing& listing : listings) {
            cameras.push_back(std::make_unique<OpenCamera>());
            Require(cameras.back()->Connect(listing.serialNumber));
        }
    }
    OpenCamera& First() { return *cameras.front(); }

    boost::shared_ptr<Zevrin::Simulation> pSimulation;
    Zevrin::CameraSystem system;
    std::vector<std::unique_ptr<OpenCamera>> cameras;
};

/// Cameras as the benchmarks use them, but for what `more` says.
inline std::string Describe(const std::string& clock, const std::string& more) {
    return R"({"clock": ")" + clock + R"(", "cameras": [{"paint": false, )" + more + "}]}";
}

}  // namespace ZevrinBench
