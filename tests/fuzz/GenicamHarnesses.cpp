#include <vector>

#include "DescriptionCheck.h"
#include "DeviceListing.h"
#include "EventPackets.h"
#include "FormatText.h"
#include "Fuzz.h"

namespace Zevrin {
namespace {

const FuzzHarness kEventPacket("EventPacket", [](const std::string& text) {
    const std::vector<unsigned char> packet(text.begin(), text.end());  // so that its end is known
    EventCommand command;
    const char* const problem = ParseEventCommand(packet.data(), packet.size(), &command);
    Require(problem == nullptr || command.events.empty(), "nothing is read of a packet that is wrong");
    for (const EventRecord& event : command.events) {
        Require(event.dataSize == 0 || (event.data >= packet.data() &&
                                        event.data + event.dataSize <= packet.data() + packet.size()),
                "the data of an event lie in its packet");
    }
    Require(problem != nullptr || MakeEventAcknowledge(command).size() == kGvcpHeaderSize,
            "there is an acknowledge");
});

/// The text is a camera's description of itself, and a word that a camera says.
const FuzzHarness kGenicamText("GenicamText", [](const std::string& text) {
    RequirePrintable(Printable(text) + ".");
    const unsigned int serialNumber = MakeSerialNumber(text);
    Require(MakeSerialNumber(std::to_string(serialNumber)) == serialNumber, "a decimal number is itself");
    g_log_set_default_handler([](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
    ArvGc* const pDescription = arv_gc_new(nullptr, text.data(), text.size());
    if (ARV_IS_GC(pDescription)) {
        RequirePrintable(FindDescriptionFault(pDescription) + ".");
        g_object_unref(pDescription);
    }
});

}  // namespace
}  // namespace Zevrin
