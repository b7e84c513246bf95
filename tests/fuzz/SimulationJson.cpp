#include "Description.h"
#include "Fuzz.h"
#include "zevrin/Simulation.h"

namespace {

using namespace Zevrin;

/// The text is a description, and the faults of a camera.
void Run(const std::uint8_t* bytes, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    boost::shared_ptr<Simulation> pSimulation;
    const Error error = Simulation::FromJson(text, &pSimulation);
    Require((error == ERR_OK) == (pSimulation != nullptr), "there are cameras, or a reason why not");
    if (error != ERR_OK) {
        RequirePrintable(error.GetDescription());
    }
    FaultDescription faults;
    const Error faultError = ParseFaults(text, &faults);
    if (faultError != ERR_OK) {
        RequirePrintable(faultError.GetDescription());
    }
}

const FuzzHarness kHarness("SimulationJson", Run);

}  // namespace
