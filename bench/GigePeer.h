#pragma once

#include <arv.h>

#include <memory>
#include <string>
#include <vector>

#include "AravisError.h"
#include "GObjectHandle.h"
#include "support/Spawn.h"

namespace ZevrinBench {

/// A fake GigE Vision camera as a process of its own.
class GigePeer {
  public:
    /// @param number  1 to 200; its serial number, and the last byte of its address 127.0.0.x
    explicit GigePeer(unsigned int number);
    const std::string& GetAddress() const { return m_address; }
    unsigned int GetSerialNumber() const { return m_number; }

  private:
    const unsigned int m_number;
    const std::string m_address;
    std::unique_ptr<Zevrin::Process> m_pProcess;
};

/// Such a camera through Aravis alone.
class BareDevice {
  public:
    explicit BareDevice(const std::string& address);
    ArvDevice* Get() const { return m_pDevice.get(); }
    void SetInteger(const char* feature, long long value);
    long long GetInteger(const char* feature);
    void Execute(const char* feature);

  private:
    Zevrin::GObjectHandle<ArvDevice> m_pDevice;
};

/// Ends the program when Aravis has failed.
void Require(const Zevrin::AravisError& error);

}  // namespace ZevrinBench
