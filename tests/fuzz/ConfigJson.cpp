#include <zevrin/CameraSystem.h>
#include <zevrin/Simulation.h>

#include "CameraConfig.h"
#include "InputFile.h"
#include "JsonFile.h"
#include "Tool.h"

namespace {

using namespace Zevrin;
using namespace ZevrinTool;

/// A camera on a clock that stands still.
class Bench {
  public:
    Bench() {
        constexpr unsigned int kSerialNumber = 1;
        Require(Simulation::FromJson(
                    R"({"clock": "manual", "cameras": [{"serial": 1, "width": 64, "height": 48}]})",
                    &m_pSimulation) == ERR_OK,
                "there is a simulation");
        Require(m_system.Connect(kSerialNumber, &m_pCamera) == ERR_OK, "the camera can be connected to");
    }

    IidcCamera& GetCamera() const { return *m_pCamera; }

  private:
    boost::shared_ptr<Simulation> m_pSimulation;
    CameraSystem m_system;
    boost::shared_ptr<IidcCamera> m_pCamera;
};

/// What is accepted of a configuration is made so; the camera then still has settings that it would accept
/// itself.
void Run(const std::uint8_t* bytes, std::size_t size) {
    static const Bench bench;
    static const InputFile file;
    try {
        const Json document =
            ReadJsonFile(file.Hold(std::string(reinterpret_cast<const char*>(bytes), size)));
        CheckConfigHead(document);
        const ConfigPlan plan = PlanConfig(document, bench.GetCamera());
        for (const Finding& finding : ApplyConfig(plan)) {
            RequirePrintable(finding.reason);
        }
        const CameraConfig now = ReadConfig(bench.GetCamera());
        Require(now.unread.empty(), "the camera's settings can be read");
        const ConfigPlan again = PlanConfig(now.document, bench.GetCamera());
        for (const Finding& finding : again.refused) {
            std::fprintf(stderr, "%s: %s\n", finding.path.c_str(), finding.reason.c_str());
        }
        Require(again.refused.empty(), "a camera accepts its own settings");
    } catch (const ToolFailure& failure) {
        RequirePrintable(failure.what());
    }
}

const FuzzHarness kHarness("ConfigJson", Run);

}  // namespace
