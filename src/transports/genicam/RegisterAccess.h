#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <functional>

#include "HardwareInterface.h"
#include "zevrin/Error.h"

namespace Zevrin {

class GenicamDevice;

/// The register space (high address 0xFFFF) of a GenICam device under control.
/// Threads: any. A run of registers is read or written as a whole: the device's access mutex is held.
class RegisterAccess {
  public:
    virtual ~RegisterAccess() = default;

    /// Whatever the device, its registers are shown where nearly every camera has them.
    static RegisterBases GetBases();

    /// Registers at consecutive low addresses of the register space.
    /// Errors: ERR_READ_REGISTER_FAILED, ERR_WRITE_REGISTER_FAILED (both name the register; those before it
    /// stay written), ERR_TIMEOUT, ERR_CAMERA_LOST, ERR_ACCESS_DENIED.
    virtual Error Read(unsigned int addressLow, unsigned int* pValues, unsigned int count) = 0;
    virtual Error Write(unsigned int addressLow, const unsigned int* pValues, unsigned int count) = 0;
};

/// The registers of a device: its own where it has them (`IidcBlock`), else a view of its features
/// (`RegisterView`). Its description is checked first, before anything that is in it is used.
/// @param onAcquisitionStart  called just before the camera is told to send
/// Errors: those of `CheckDescription` and of `IidcBlock::Find`.
Error OpenRegisters(const boost::shared_ptr<GenicamDevice>& pDevice, unsigned int serialNumber,
                    std::function<void()> onAcquisitionStart, boost::shared_ptr<RegisterAccess>* ppRegisters);

}  // namespace Zevrin
