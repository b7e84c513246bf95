#include "RememberingHardware.h"

#include <utility>

#include "SettingsMemory.h"

namespace Zevrin {

RememberingHardware::RememberingHardware(boost::shared_ptr<HardwareInterface> pHardware,
                                         boost::shared_ptr<SettingsMemory> pMemory)
    : m_pHardware(std::move(pHardware)), m_pMemory(std::move(pMemory)) {}

Error RememberingHardware::WriteQuadlets(unsigned short addressHigh, unsigned int addressLow,
                                         const unsigned int* pValues, unsigned int count, bool broadcast) {
    Error error = m_pHardware->WriteQuadlets(addressHigh, addressLow, pValues, count, broadcast);
    if (error == ERR_OK) {
        m_pMemory->Remember(m_pHardware->GetRegisterBases().commandRegisters, addressHigh, addressLow,
                            pValues, count);
    }
    return error;
}

}  // namespace Zevrin
