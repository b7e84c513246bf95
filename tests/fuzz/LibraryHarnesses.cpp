#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>

#include "CycleTime.h"
#include "Description.h"
#include "Fuzz.h"
#include "Image.h"
#include "Iso.h"
#include "RegisterFields.h"
#include "Registers.h"
#include "components/FakeHardware.h"
#include "zevrin/Simulation.h"

namespace Zevrin {
namespace {

const FuzzHarness kRegisterCodec("RegisterCodec", [](const std::string& text) {
    InputReader input(text);
    const unsigned int first = input.TakeByte() % 32;
    const RegisterField field{first, first + input.TakeByte() % (32 - first)};
    const unsigned int word = input.TakeWord();
    const unsigned int value = input.TakeWord();
    const unsigned int put = field.Put(word, value);
    Require(field.Get(put) == (value & field.GetMax()), "what was put is got");
    Require((put & ~field.GetMask()) == (word & ~field.GetMask()), "all other bits stay");
    Require(field.Put(word, field.Get(word)) == word, "putting what is there changes nothing");
    Require(field.Make(value) == field.Put(0, value), "a word is made as it is put together");
    const unsigned int flags = GetFlags(word, field);
    for (unsigned int number = 0; number < 32; ++number) {
        const bool isListed = first + number <= field.last && (word & RegisterBit(first + number)) != 0;
        Require((flags >> number & 1) == (isListed ? 1U : 0U), "flag n is the n-th bit of the field");
    }
});

/// The register of the items, the size of the image and what is said to have arrived of it; then the image.
const FuzzHarness kEmbeddedInfo("EmbeddedInfo", [](const std::string& text) {
    InputReader input(text);
    const auto pHardware = boost::make_shared<FakeHardware>();
    const unsigned int items = input.TakeWord();
    pHardware->SetRegister(Register::kEmbeddedInfo, items);
    pHardware->m_format.payloadSize = 1 + input.TakeByte() % 16;
    const std::size_t received = input.TakeByte();
    const bool hasStamp = input.TakeByte() % 2 != 0;
    Iso iso;
    iso.SetIO(pHardware, 0xF0000000U, 0xF0F00000U);
    Require(iso.StartCapture(ZevrinConfig(), nullptr, nullptr) == ERR_OK, "a stream can be started");
    const boost::shared_ptr<FrameQueue> pQueue = pHardware->GetQueue();
    Frame* const pFrame = pQueue->BeginFill();
    std::string sent(pFrame->capacity, '\0');
    std::generate(sent.begin(), sent.end(), [&] { return static_cast<char>(input.TakeByte()); });
    std::copy(sent.begin(), sent.end(), pFrame->data);
    pFrame->info.receivedSize = received;
    pFrame->info.hasTimeStamp = hasStamp;
    pQueue->EndFill(pFrame);
    Image image;
    Require(iso.WaitForBufferEvent(&image, 0) == ERR_OK, "the image can be had");
    Require(image.GetDataSize() == std::min(received, sent.size()), "no size beyond the buffer is believed");
    TimeStamp expected;
    if (!hasStamp && items % 2 != 0 && received >= 4 && sent.size() >= 4) {
        SetCycleTime(InputReader(sent).TakeWord(), &expected);
    }
    const TimeStamp stamp = image.GetTimeStamp();
    Require(stamp.cycleSeconds == expected.cycleSeconds && stamp.cycleCount == expected.cycleCount &&
                stamp.cycleOffset == expected.cycleOffset,
            "the stamp is the first quadlet of an image that has one");
});

/// The text is a description, and the faults of a camera.
const FuzzHarness kSimulationJson("SimulationJson", [](const std::string& text) {
    boost::shared_ptr<Simulation> pSimulation;
    FaultDescription faults;
    const Error error = Simulation::FromJson(text, &pSimulation);
    Require((error == ERR_OK) == (pSimulation != nullptr), "there are cameras, or a reason why not");
    for (const Error& refusal : {error, ParseFaults(text, &faults)}) {
        if (refusal != ERR_OK) {
            RequirePrintable(refusal.GetDescription());
        }
    }
});

}  // namespace
}  // namespace Zevrin
