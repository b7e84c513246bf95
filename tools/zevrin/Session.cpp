#include "Session.h"

#include <cstdlib>
#include <set>

namespace ZevrinTool {

namespace {

/// Before the library looks: what the command line simulates takes the place of what the environment does.
boost::shared_ptr<Zevrin::Simulation> Simulate(const std::string& countOrPath) {
    boost::shared_ptr<Zevrin::Simulation> pSimulation;
    if (!countOrPath.empty()) {
        unsetenv("ZEVRIN_SIMULATE");
        Check(Zevrin::Simulation::FromText(countOrPath, &pSimulation), "--simulate");
    }
    return pSimulation;
}

}  // namespace

Session::Session(const Tool& tool) : m_pSimulation(Simulate(tool.simulate)) {}

std::vector<Zevrin::CameraListing> Session::List() {
    std::vector<Zevrin::CameraListing> cameras;
    Check(m_system.List(&cameras));
    return cameras;
}

std::string Session::DescribeCameras() {
    const std::vector<Zevrin::CameraListing> cameras = List();
    if (cameras.empty()) {
        return "no camera was found (--simulate 1 makes one)";
    }
    std::string text = "there are:";
    for (const Zevrin::CameraListing& camera : cameras) {
        text +=
            "\n  " + std::to_string(camera.serialNumber) + "  " + camera.modelName + ", " + camera.address;
    }
    return text;
}

std::vector<unsigned int> Session::Choose(const std::vector<unsigned int>& named) {
    if (!named.empty()) {
        return named;
    }
    const std::vector<Zevrin::CameraListing> cameras = List();
    if (cameras.empty()) {
        throw ToolFailure(kExitNoCamera, DescribeCameras());
    }
    if (cameras.size() > 1) {
        throw ToolFailure(kExitUsage,
                          "a serial number is needed to tell the cameras apart; " + DescribeCameras());
    }
    return {cameras.front().serialNumber};
}

std::vector<unsigned int> Session::ChooseSeveral(const std::vector<unsigned int>& named) {
    const std::set<unsigned int> distinct(named.begin(), named.end());
    if (distinct.size() != named.size()) {
        throw ToolFailure(kExitUsage, "a serial number is given twice");
    }
    return Choose(named);
}

std::vector<unsigned int> Session::ChooseAll() {
    std::vector<unsigned int> all;
    for (const Zevrin::CameraListing& camera : List()) {
        all.push_back(camera.serialNumber);
    }
    return all.empty() ? Choose({}) : all;
}

boost::shared_ptr<Zevrin::IidcCamera> Session::Connect(unsigned int serialNumber) {
    boost::shared_ptr<Zevrin::IidcCamera> pCamera;
    const Zevrin::Error error = m_system.Connect(serialNumber, &pCamera);
    if (error == Zevrin::ERR_CAMERA_NOT_FOUND) {
        throw ToolFailure(kExitNoCamera, "there is no camera with serial number " +
                                             std::to_string(serialNumber) + "; " + DescribeCameras());
    }
    Check(error, NameOf(serialNumber));
    return pCamera;
}

}  // namespace ZevrinTool
