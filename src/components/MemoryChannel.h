#pragma once

#include <boost/thread/mutex.hpp>

#include "IOBase.h"

namespace Zevrin {

/// The settings that a camera keeps in its own memory. Channel 0 holds the factory's and is always there.
///
/// Errors: ERR_INVALID_PARAMETER (no place for the result), ERR_VALUE_OUT_OF_RANGE (no such channel), the
/// access's.
/// Threads: any; one channel is saved or restored at a time.
class MemoryChannel : public IOBase {
  public:
    MemoryChannel() = default;
    /// With another limit for the time that saving may take.
    explicit MemoryChannel(unsigned int saveTimeoutMs) : m_saveTimeoutMs(saveTimeoutMs) {}

    /// The channel whose settings were loaded last.
    Error GetMemoryChannel(unsigned int* pChannel);

    /// Waits until the camera has saved its present settings.
    /// Errors: ERR_FEATURE_ABSENT (the camera keeps no settings but the factory's),
    /// ERR_MEMORY_CHANNEL_FAILED (the camera did not finish in time).
    Error SaveToMemoryChannel(unsigned int channel);

    /// Errors: ERR_MEMORY_CHANNEL_FAILED (the camera stays at another channel: it may be transmitting).
    Error RestoreFromMemoryChannel(unsigned int channel);

    /// The highest channel that can be saved to; 0 when there is none.
    Error GetMemoryChannelInfo(unsigned int* pHighestChannel);

  private:
    static constexpr unsigned int kSaveTimeoutMs = 5000;

    Error RequireChannel(unsigned int channel);

    boost::mutex m_mutex;  // guards the camera's choice of channel until it has been followed
    const unsigned int m_saveTimeoutMs = kSaveTimeoutMs;
};

}  // namespace Zevrin
