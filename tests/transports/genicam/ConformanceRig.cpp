#include "../Conformance.h"

#include "GenicamTransport.h"
#include "GigeFixture.h"

namespace Zevrin {

namespace {

class GigeRig : public ConformanceRig {
  public:
    boost::shared_ptr<HardwareInterface> GetCamera() override {
        std::vector<boost::shared_ptr<HardwareInterface>> cameras;
        EXPECT_OK(m_transport.Discover(&cameras));
        return cameras.empty() ? nullptr : cameras.front();
    }
    unsigned short GetScratchHigh() const override { return kDeviceMemory; }
    unsigned int GetScratchLow() const override { return 0x4000; }  // beyond the fake camera's registers

  private:
    const std::unique_ptr<Process> m_pFakeCamera = ServeCamera({});
    GenicamTransport m_transport;
};

}  // namespace

std::unique_ptr<ConformanceRig> MakeConformanceRig() {
    return std::make_unique<GigeRig>();
}

}  // namespace Zevrin
