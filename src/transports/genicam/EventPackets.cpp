#include "EventPackets.h"

namespace Zevrin {

namespace {

constexpr std::size_t kEventSize = 16;  // without data

/// Two reserved bytes, id, stream channel, block id, time stamp.
EventRecord ReadRecord(const unsigned char* bytes) {
    EventRecord record;
    record.id = ReadBig16(bytes + 2);
    record.streamChannel = ReadBig16(bytes + 4);
    record.blockId = ReadBig16(bytes + 6);
    record.timeStamp = static_cast<unsigned long long>(ReadBig32(bytes + 8)) << 32 | ReadBig32(bytes + 12);
    return record;
}

}  // namespace

const char* ParseEventCommand(const unsigned char* bytes, std::size_t size, EventCommand* pCommand) {
    if (size < kGvcpHeaderSize) {
        return "it is shorter than a header";
    }
    if (bytes[0] != kGvcpKey) {
        return "it is no command of GigE Vision";
    }
    const unsigned int command = ReadBig16(bytes + 2);
    if (command != GvcpCommand::kEvent && command != GvcpCommand::kEventData) {
        return "it is no event";
    }
    if ((bytes[1] & kGvcpExtendedIds) != 0) {
        return "its events have 64-bit block ids, which are not supported";
    }
    const std::size_t length = ReadBig16(bytes + 4);
    if (length != size - kGvcpHeaderSize) {
        return "its length is not the one that it tells";
    }
    if (length < kEventSize) {
        return "it holds no event";
    }
    if (command == GvcpCommand::kEvent && length % kEventSize != 0) {
        return "it ends within an event";
    }
    EventCommand result;
    result.command = command;
    result.requestId = ReadBig16(bytes + 6);
    result.isAnswerWanted = (bytes[1] & kGvcpAskForAnswer) != 0;
    const unsigned char* const payload = bytes + kGvcpHeaderSize;
    if (command == GvcpCommand::kEventData) {  // one event, and its data to the end
        result.events.push_back(ReadRecord(payload));
        result.events.back().data = payload + kEventSize;
        result.events.back().dataSize = length - kEventSize;
    } else {
        for (std::size_t offset = 0; offset < length; offset += kEventSize) {
            result.events.push_back(ReadRecord(payload + offset));
        }
    }
    *pCommand = std::move(result);
    return nullptr;
}

std::array<unsigned char, kGvcpHeaderSize> MakeEventAcknowledge(const EventCommand& command) {
    std::array<unsigned char, kGvcpHeaderSize> bytes{};  // status: success; no payload
    WriteBig16(command.command + kGvcpAcknowledgeStep, &bytes[2]);
    WriteBig16(command.requestId, &bytes[6]);
    return bytes;
}

}  // namespace Zevrin
