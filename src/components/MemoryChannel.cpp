#include "MemoryChannel.h"

#include <boost/thread/lock_guard.hpp>

#include "Failure.h"
#include "RegisterFields.h"
#include "RegisterSequence.h"
#include "Registers.h"

namespace Zevrin {

namespace {

Error NoPlace() {
    return Failure(ERR_INVALID_PARAMETER, "The number of the memory channel needs a place to go to.");
}

}  // namespace

Error MemoryChannel::GetMemoryChannelInfo(unsigned int* pHighestChannel) {
    if (pHighestChannel == nullptr) {
        return NoPlace();
    }
    RegisterSequence camera(*this);
    const unsigned int inquiry = camera.Read(Register::kBasicFunctionInquiry);
    if (!camera.HasFailed()) {
        *pHighestChannel = BasicFunction::kHighestMemoryChannel.Get(inquiry);
    }
    return camera.GetError();
}

Error MemoryChannel::GetMemoryChannel(unsigned int* pChannel) {
    if (pChannel == nullptr) {
        return NoPlace();
    }
    RegisterSequence camera(*this);
    const unsigned int current = camera.Read(Register::kCurrentMemoryChannel);
    if (!camera.HasFailed()) {
        *pChannel = kMemoryChannelField.Get(current);
    }
    return camera.GetError();
}

Error MemoryChannel::RequireChannel(unsigned int channel) {
    unsigned int highest = 0;
    const Error error = GetMemoryChannelInfo(&highest);
    if (error == ERR_OK && channel > highest) {
        return Failure(ERR_VALUE_OUT_OF_RANGE,
                       "The camera has no memory channel %u; its channels are 0 (factory settings) to %u.",
                       channel, highest);
    }
    return error;
}

Error MemoryChannel::SaveToMemoryChannel(unsigned int channel) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    unsigned int highest = 0;
    Error error = GetMemoryChannelInfo(&highest);
    if (error == ERR_OK && highest == 0) {
        error = Failure(ERR_FEATURE_ABSENT, "The camera has no memory channel to save to.");
    } else if (error == ERR_OK && (channel == 0 || channel > highest)) {
        error = Failure(
            ERR_VALUE_OUT_OF_RANGE,
            "Settings cannot be saved to memory channel %u; it must be 1 to %u (0 holds the factory's).",
            channel, highest);
    }
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this);
    camera.Write(Register::kMemorySaveChannel, kMemoryChannelField.Make(channel));
    camera.Write(Register::kMemorySave, kSwitchBit);
    camera.WaitForClear(Register::kMemorySave, kSwitchBit, m_saveTimeoutMs);
    if (camera.HasFailed()) {
        return FailureBecause(ERR_MEMORY_CHANNEL_FAILED, camera.GetError(),
                              "The settings may not have been saved to memory channel %u: %s", channel,
                              camera.GetError().GetDescription());
    }
    return Error();
}

Error MemoryChannel::RestoreFromMemoryChannel(unsigned int channel) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    const Error error = RequireChannel(channel);
    if (error != ERR_OK) {
        return error;
    }
    RegisterSequence camera(*this);
    camera.Write(Register::kCurrentMemoryChannel, kMemoryChannelField.Make(channel));
    const unsigned int current = kMemoryChannelField.Get(camera.Read(Register::kCurrentMemoryChannel));
    if (!camera.HasFailed() && current != channel) {
        return Failure(ERR_MEMORY_CHANNEL_FAILED,
                       "The camera stays at memory channel %u; it does not go to %u while it transmits.",
                       current, channel);
    }
    return camera.GetError();
}

}  // namespace Zevrin
