#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <zevrin/CameraSystem.h>
#include <zevrin/IidcCamera.h>
#include <zevrin/Simulation.h>

#include "Tool.h"

namespace ZevrinTool {

/// The library as a verb uses it, with the simulation that the command line asks for. Whatever goes wrong
/// is thrown as `ToolFailure`.
class Session {
  public:
    explicit Session(const Tool& tool);

    std::vector<Zevrin::CameraListing> List();

    /// The cameras that were left out since their serial number was taken.
    std::vector<Zevrin::CameraListing> GetLeftOut() const { return m_system.GetLeftOut(); }

    /// Tells of every camera that comes or goes, for as long as the session lives.
    void Watch(std::function<void(const Zevrin::CameraListing&, bool isPresent)> listener) {
        m_system.Watch(std::move(listener));
    }
    void Rescan() { Check(m_system.Rescan()); }

    /// The serial numbers named on the command line, or that of the one camera that is there.
    std::vector<unsigned int> Choose(const std::vector<unsigned int>& named);

    /// The same for a verb that takes several; each may be named once.
    std::vector<unsigned int> ChooseSeveral(const std::vector<unsigned int>& named);

    /// Every camera that is there, at least one.
    std::vector<unsigned int> ChooseAll();

    boost::shared_ptr<Zevrin::IidcCamera> Connect(unsigned int serialNumber);

  private:
    std::string DescribeCameras();

    boost::shared_ptr<Zevrin::Simulation> m_pSimulation;
    Zevrin::CameraSystem m_system;
};

}  // namespace ZevrinTool
