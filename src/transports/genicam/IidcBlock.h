#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <functional>
#include <optional>

#include "RegisterAccess.h"

namespace Zevrin {

class GenicamDevice;

/// The IIDC registers of a camera that has them in its memory. The usual address of the command registers,
/// 0xF0F00000, stands for where they begin there, so the places of blocks that the camera announces, which
/// count from the initial register space, are found wherever it keeps them.
class IidcBlock : public RegisterAccess {
  public:
    /// Where a camera's command registers begin: as the environment variable ZEVRIN_IIDC_BLOCK says, which
    /// is a list of SERIAL=ADDRESS separated by commas; else as the bootstrap registers of USB3 Vision say,
    /// when there are registers. No value: the camera has none.
    /// Errors: ERR_INVALID_PARAMETER (the variable), ERR_TIMEOUT, ERR_CAMERA_LOST.
    static Error Find(GenicamDevice& device, unsigned int serialNumber,
                      std::optional<unsigned int>* pAddress);

    /// @param onAcquisitionStart  called just before the camera is told to send
    IidcBlock(boost::shared_ptr<GenicamDevice> pDevice, unsigned int address,
              std::function<void()> onAcquisitionStart);

    Error Read(unsigned int addressLow, unsigned int* pValues, unsigned int count) override;
    Error Write(unsigned int addressLow, const unsigned int* pValues, unsigned int count) override;

  private:
    std::optional<unsigned int> Locate(unsigned int addressLow, unsigned int count) const;

    const boost::shared_ptr<GenicamDevice> m_pDevice;
    const unsigned int m_address;
    const std::function<void()> m_onAcquisitionStart;
};

}  // namespace Zevrin
