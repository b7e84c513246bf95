#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "Gvcp.h"

namespace Zevrin {

/// One device event in a command of the message channel.
struct EventRecord {
    unsigned int id = 0;
    unsigned int streamChannel = 0;
    unsigned int blockId = 0;             ///< of the image that it belongs to; 0: of none
    unsigned long long timeStamp = 0;     ///< ticks of the device's clock
    const unsigned char* data = nullptr;  ///< within the packet
    std::size_t dataSize = 0;             ///< bytes
};

/// What a device sends over the message channel: EVENT_CMD or EVENTDATA_CMD of GigE Vision.
struct EventCommand {
    unsigned int command = 0;
    unsigned int requestId = 0;
    bool isAnswerWanted = false;
    std::vector<EventRecord> events;  ///< in order
};

/// Reads a packet, of which nothing is believed. The records point into it.
/// @return what is wrong with it, and nothing is read then; null: nothing
/// Threads: any.
const char* ParseEventCommand(const unsigned char* bytes, std::size_t size, EventCommand* pCommand);

/// The acknowledge that the command asks for.
std::array<unsigned char, kGvcpHeaderSize> MakeEventAcknowledge(const EventCommand& command);

}  // namespace Zevrin
