#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <vector>

#include "CycleTime.h"
#include "Fuzz.h"
#include "Image.h"
#include "Iso.h"
#include "Registers.h"
#include "components/FakeHardware.h"

namespace {

using namespace Zevrin;

/// A camera whose stream is filled from here.
class TappedHardware : public FakeHardware {
  public:
    Error StartStream(const ZevrinConfig& config, const boost::shared_ptr<FrameQueue>& pQueue) override {
        m_pTapped = pQueue;
        return FakeHardware::StartStream(config, pQueue);
    }
    boost::shared_ptr<FrameQueue> m_pTapped;
};

/// The register of the items, the size of the image and what is said to have arrived of it; then the image.
void Run(const std::uint8_t* bytes, std::size_t size) {
    InputReader input(bytes, size);
    const auto pHardware = boost::make_shared<TappedHardware>();
    const unsigned int items = input.TakeWord();
    pHardware->SetRegister(Register::kEmbeddedInfo, items);
    pHardware->m_format.payloadSize = 1 + input.TakeByte() % 16;
    const std::size_t received = input.TakeByte();
    const bool hasStamp = input.TakeByte() % 2 != 0;
    Iso iso;
    iso.SetIO(pHardware, 0xF0000000U, 0xF0F00000U);
    Require(iso.StartCapture(ZevrinConfig(), nullptr, nullptr) == ERR_OK, "a stream can be started");
    Frame* const pFrame = pHardware->m_pTapped->BeginFill();
    std::generate(pFrame->data, pFrame->data + pFrame->capacity,
                  [&] { return static_cast<unsigned char>(input.TakeByte()); });
    pFrame->info.receivedSize = received;
    pFrame->info.hasTimeStamp = hasStamp;
    const std::vector<unsigned char> sent(pFrame->data, pFrame->data + pFrame->capacity);
    pHardware->m_pTapped->EndFill(pFrame);
    Image image;
    Require(iso.WaitForBufferEvent(&image, 0) == ERR_OK, "the image can be had");
    TimeStamp expected;
    if (!hasStamp && items % 2 != 0 && received >= 4 && sent.size() >= 4) {
        InputReader word(sent.data(), sent.size());
        SetCycleTime(word.TakeWord(), &expected);
    }
    const TimeStamp stamp = image.GetTimeStamp();
    Require(stamp.cycleSeconds == expected.cycleSeconds && stamp.cycleCount == expected.cycleCount &&
                stamp.cycleOffset == expected.cycleOffset,
            "the stamp is the first quadlet of an image that has one");
}

const FuzzHarness kHarness("EmbeddedInfo", Run);

}  // namespace
