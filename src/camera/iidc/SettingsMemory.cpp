#include "SettingsMemory.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <iterator>

#include "HardwareInterface.h"
#include "Log.h"
#include "RegisterBits.h"
#include "Registers.h"

namespace Zevrin {

namespace {

constexpr std::size_t kMaxSettings = std::size_t{1} << 18;  // more than any look-up table

constexpr unsigned int kOneShot = 0x61C;            // IIDC ONE_SHOT and MULTI_SHOT
constexpr unsigned int kTransmitFailures = 0x12FC;  // a write resets the count
constexpr unsigned int kActions[] = {Register::kInitialize,      Register::kTransmission,
                                     Register::kMemorySave,      kOneShot,
                                     Register::kSoftwareTrigger, kTransmitFailures};

// The switch of a feature that adjusts itself once; it clears itself.
constexpr unsigned int kFeatureControlsBegin = Register::kHighControl;
constexpr unsigned int kFeatureControlsEnd = 0x900;
constexpr unsigned int kOnePush = RegisterBit(5);

bool IsAction(unsigned int offset) {
    return std::find(std::begin(kActions), std::end(kActions), offset) != std::end(kActions);
}

}  // namespace

void SettingsMemory::Remember(unsigned int commandRegisters, unsigned short addressHigh,
                              unsigned int addressLow, const unsigned int* pValues, unsigned int count) {
    if (addressHigh != kRegisterSpace) {
        return;
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    ++m_writes;  // so that nothing follows the write before directly
    for (unsigned int index = 0; index < count; ++index) {
        const unsigned int address = addressLow + index * kRegisterSize;
        unsigned int value = pValues[index];
        const unsigned int offset = address - commandRegisters;
        if (offset == Register::kInitialize && (value & kSwitchBit) != 0) {
            m_settings.clear();
        } else if (offset == Register::kTransmission) {
            m_isTransmissionOn = (value & kSwitchBit) != 0;
        }
        if (IsAction(offset)) {
            continue;
        }
        if (offset >= kFeatureControlsBegin && offset < kFeatureControlsEnd) {
            value &= ~kOnePush;
        }
        if (m_settings.size() >= kMaxSettings && m_settings.count({addressHigh, address}) == 0) {
            Log().warn("More was written to the camera than can be put back after a loss: {:#06x} {:08x}",
                       addressHigh, address);
            return;
        }
        m_settings[{addressHigh, address}] = {value, ++m_writes};
    }
}

void SettingsMemory::Forget() {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_settings.clear();
    m_isTransmissionOn = false;
}

bool SettingsMemory::IsTransmissionOn() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_isTransmissionOn;
}

Error SettingsMemory::PutBack(std::vector<Run> runs, const Write& write, unsigned int* pCount,
                              Error* pRefusal) {
    for (bool hasChanged = true; hasChanged && !runs.empty();) {
        hasChanged = false;
        *pRefusal = Error();
        std::vector<Run> refused;
        for (Run& run : runs) {
            const Error error = write(run);
            if (error == ERR_CAMERA_LOST || error == ERR_TIMEOUT || error == ERR_NOT_CONNECTED) {
                return error;
            }
            if (error == ERR_OK) {
                *pCount += static_cast<unsigned int>(run.values.size());
                hasChanged = true;
            } else {
                *pRefusal = *pRefusal == ERR_OK ? error : *pRefusal;
                refused.push_back(std::move(run));
            }
        }
        runs = std::move(refused);
    }
    return Error();
}

std::vector<SettingsMemory::Run> SettingsMemory::GetRuns() const {
    std::vector<std::pair<Address, Setting>> settings;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        settings.assign(m_settings.begin(), m_settings.end());
    }
    std::sort(settings.begin(), settings.end(),
              [](const auto& a, const auto& b) { return a.second.order < b.second.order; });
    std::vector<Run> runs;
    unsigned long long lastOrder = 0;
    for (const auto& [address, setting] : settings) {
        const auto [high, low] = address;
        const bool continues = !runs.empty() && runs.back().addressHigh == high &&
                               setting.order == lastOrder + 1 &&
                               runs.back().addressLow + runs.back().values.size() * kRegisterSize == low;
        if (!continues) {
            runs.push_back({high, low, {}});
        }
        runs.back().values.push_back(setting.value);
        lastOrder = setting.order;
    }
    return runs;
}

}  // namespace Zevrin
