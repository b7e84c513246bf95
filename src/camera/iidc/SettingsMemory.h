#pragma once

#include <boost/thread/mutex.hpp>
#include <map>
#include <utility>
#include <vector>

namespace Zevrin {

/// What was written to a camera, so that it can be put back.
///
/// Of each register the last value is kept, in the order of the last writes: settings that build on one
/// another, such as format, mode and rate, come back in the order in which they were made. Registers that
/// make the camera do something once are left out, and so is what INITIALIZE has undone. Threads: any.
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

  private:
    using Address = std::pair<unsigned short, unsigned int>;
    struct Setting {
        unsigned int value = 0;
        unsigned long long order = 0;
    };

    mutable boost::mutex m_mutex;  // guards what follows
    std::map<Address, Setting> m_settings;
    unsigned long long m_writes = 0;
};

}  // namespace Zevrin
