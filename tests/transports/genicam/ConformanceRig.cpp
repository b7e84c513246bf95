#include "../Conformance.h"

#include "GenicamTransport.h"
#include "GigeFixture.h"

namespace Zevrin {

namespace {

class GigeRig : public ConformanceRig {
  public:
    boost::shared_ptr<HardwareInterface> GetCamera() override {
        EXPECT_EQ(m_fakeCamera.ReadUntil("ready\n", kPatience), "ready\n");
        std::vector<boost::shared_ptr<HardwareInterface>> cameras;
        EXPECT_EQ(m_transport.Discover(&cameras).GetType(), ERR_OK);
        return cameras.empty() ? nullptr : cameras.front();
    }
    unsigned short GetScratchHigh() const override { return kDeviceMemory; }
    unsigned int GetScratchLow() const override { return 0x4000; }  // beyond the fake camera's registers

  private:
    ChildProcess m_fakeCamera{{ZEVRIN_FAKE_CAMERA_PROGRAM, "--exit-with-stdin"}};
    GenicamTransport m_transport;
};

}  // namespace

std::unique_ptr<ConformanceRig> MakeConformanceRig() {
    return std::make_unique<GigeRig>();
}

}  // namespace Zevrin
