#pragma once

#include "HardwareInterface.h"
#include "Script.h"

namespace Zevrin {

class BusMaster {
  public:
    BusMaster() { Script::RecordConstruction("BusMaster"); }
    virtual ~BusMaster() { Script::RecordDestruction("BusMaster"); }

    /// The next of the scripted answers; 0 when there are none.
    unsigned int GetGeneration(unsigned int serialNumber) {
        m_lastSerialNumber = serialNumber;
        auto& generations = Script::Get().generations;
        if (generations.empty()) {
            return 0;
        }
        const unsigned int generation = generations.front();
        if (generations.size() > 1) {
            generations.erase(generations.begin());
        }
        return generation;
    }

    Error GetHwInterfaceFromSerialNumber(unsigned int serialNumber, HardwareInterface** ppHardware) {
        *ppHardware = &m_hardware;
        return Script::Answer("BusMaster::GetHwInterfaceFromSerialNumber", serialNumber);
    }

    HardwareInterface m_hardware;
    unsigned int m_lastSerialNumber = 0;
};

}  // namespace Zevrin
