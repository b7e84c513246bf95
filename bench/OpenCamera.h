#pragma once

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <utility>

#include "BusMaster.h"
#include "IOBase.h"
#include "IidcCamera.h"
#include "Iso.h"
#include "Measure.h"
#include "RememberingHardware.h"
#include "SettingsMemory.h"
#include "Singleton.h"

namespace ZevrinBench {

/// How often a camera was reached for its registers, and for how many of them.
struct AccessCounts {
    unsigned int accesses = 0;
    unsigned int writes = 0;  ///< of these
    unsigned int registers = 0;
};

/// A handle that counts what passes it. Threads: one at a time.
class CountingHardware : public Zevrin::RememberingHardware {
  public:
    CountingHardware(boost::shared_ptr<Zevrin::HardwareInterface> pHardware,
                     boost::shared_ptr<AccessCounts> pCounts)
        : RememberingHardware(std::move(pHardware), boost::make_shared<Zevrin::SettingsMemory>()),
          m_pCounts(std::move(pCounts)) {}
    Zevrin::Error ReadQuadlets(unsigned short high, unsigned int low, unsigned int* pValues,
                               unsigned int count) override {
        Count(count);
        return RememberingHardware::ReadQuadlets(high, low, pValues, count);
    }
    Zevrin::Error WriteQuadlets(unsigned short high, unsigned int low, const unsigned int* pValues,
                                unsigned int count, bool broadcast) override {
        Count(count);
        ++m_pCounts->writes;
        return RememberingHardware::WriteQuadlets(high, low, pValues, count, broadcast);
    }

  private:
    void Count(unsigned int registers) {
        ++m_pCounts->accesses;
        m_pCounts->registers += registers;
    }
    const boost::shared_ptr<AccessCounts> m_pCounts;
};

/// A camera whose components can be reached, and given another handle.
class OpenCamera : public Zevrin::IidcCamera {
  public:
    Zevrin::IOBase& GetRegisters() { return *m_pIOBase; }
    Zevrin::Iso& GetStream() { return *m_pIso; }
    boost::shared_ptr<Zevrin::HardwareInterface> GetHandle() const {
        const Zevrin::SingletonHold<Zevrin::BusMaster> busMaster;
        boost::shared_ptr<Zevrin::HardwareInterface> pHardware;
        Require(busMaster->AcquireHardware(m_serialNumber, &pHardware));
        return pHardware;
    }
    void SetHardware(const boost::shared_ptr<Zevrin::HardwareInterface>& pHardware) {
        Require(SetAllIO(pHardware, m_initialRegisterSpace, m_commandRegisters));
    }

    /// Frames that did not come whole, or not at all.
    unsigned int CountLost() const {
        return m_pIso->GetNumOfImageCorrupt() + m_pIso->GetNumOfImageDropped() +
               m_pIso->GetNumOfImageDriverDropped();
    }
};

}  // namespace ZevrinBench
