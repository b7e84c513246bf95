#include "../Conformance.h"

#include "SimulatedFixture.h"

namespace Zevrin {
namespace {

class SimulatedRig : public ConformanceRig {
  public:
    explicit SimulatedRig(boost::shared_ptr<Simulation> pSimulation)
        : m_pSimulation(std::move(pSimulation)) {}

    boost::shared_ptr<HardwareInterface> GetCamera() override {
        const auto pCamera = OpenCamera(1001);
        pCamera->Close();
        return pCamera;
    }
    unsigned short GetScratchHigh() const override { return kRegisterSpace; }
    unsigned int GetScratchLow() const override { return kCommandBase + 0x1F00; }  // the user's data
    void LetTimePass() override { m_pSimulation->AdvanceClock(kSecond / 20); }

  private:
    const boost::shared_ptr<Simulation> m_pSimulation;
};

}  // namespace

std::unique_ptr<ConformanceRig> MakeConformanceRig() {
    return std::make_unique<SimulatedRig>(MakeSimulation(R"({"clock": "manual", "cameras": [{}]})"));
}

}  // namespace Zevrin
