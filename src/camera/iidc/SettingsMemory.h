#pragma once

#include <boost/thread/mutex.hpp>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "zevrin/Error.h"

namespace Zevrin {

/// What was written to a camera, so that it can be put back.
///
/// Of each register the last value is kept, in the order of the last writes: settings that build on one
/// another, such as format, mode and rate, come back in the order in which they were made. Registers that
/// make the camera do something once are left out, and so is what INITIALIZE has undone. So is a device's own
/// memory (high address 0x0000): what a write does there, nobody knows here. Threads: any.
class SettingsMemory {
  public:
    /// A run of quadlets at consecutive addresses.
    struct Run {
        unsigned short addressHigh = 0;
        unsigned int addressLow = 0;
        std::vector<unsigned int> values;
    };

    /// @param commandRegisters  low address of the camera's command registers
    void Remember(unsigned int commandRegisters, unsigned short addressHigh, unsigned int addressLow,
                  const unsigned int* pValues, unsigned int count);

    void Forget();

    /// In the order of the last writes; what was written together stays together.
    std::vector<Run> GetRuns() const;

    /// Whether transmission was switched on last, which `Forget` forgets too.
    bool IsTransmissionOn() const;

    /// Writes the runs in their order, then those that were refused again, for as long as one more is taken:
    /// a setting may have to wait for a later one, as a position does for a smaller size.
    /// @param pCount    quadlets that were taken
    /// @param pRefusal  the first refusal that stayed, or ERR_OK
    /// Errors: those that say that the camera is away; the rest is not tried then.
    using Write = std::function<Error(const Run&)>;
    static Error PutBack(std::vector<Run> runs, const Write& write, unsigned int* pCount, Error* pRefusal);

  private:
    using Address = std::pair<unsigned short, unsigned int>;
    struct Setting {
        unsigned int value = 0;
        unsigned long long order = 0;
    };

    mutable boost::mutex m_mutex;  // guards what follows
    std::map<Address, Setting> m_settings;
    unsigned long long m_writes = 0;
    bool m_isTransmissionOn = false;
};

}  // namespace Zevrin
