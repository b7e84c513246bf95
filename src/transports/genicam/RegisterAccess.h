#pragma once

#include "HardwareInterface.h"
#include "zevrin/Error.h"

namespace Zevrin {

/// The register space (high address 0xFFFF) of a GenICam device under control.
/// Threads: any. A run of registers is read or written as a whole: the device's access mutex is held.
class RegisterAccess {
  public:
    virtual ~RegisterAccess() = default;

    virtual RegisterBases GetBases() const = 0;

    /// Registers at consecutive low addresses of the register space.
    /// Errors: ERR_READ_REGISTER_FAILED, ERR_WRITE_REGISTER_FAILED (both name the register; those before it
    /// stay written), ERR_TIMEOUT, ERR_CAMERA_LOST, ERR_ACCESS_DENIED.
    virtual Error Read(unsigned int addressLow, unsigned int* pValues, unsigned int count) = 0;
    virtual Error Write(unsigned int addressLow, const unsigned int* pValues, unsigned int count) = 0;
};

}  // namespace Zevrin
