#include "EventPackets.h"

#include <vector>

#include "Fuzz.h"

namespace {

using namespace Zevrin;

void Run(const std::uint8_t* bytes, std::size_t size) {
    const std::vector<unsigned char> packet(bytes, bytes + size);  // so that its end is known
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
}

const FuzzHarness kHarness("EventPacket", Run);

}  // namespace
