#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <functional>

#include "HardwareInterface.h"
#include "zevrin/Error.h"

namespace Zevrin {

class GenicamDevice;

/// The IIDC command registers that a GenICam camera is given: each is a row of a table that says by which
/// features it is read and written. What has no row cannot be accessed.
/// Threads: any.
class RegisterView {
  public:
    /// @param onAcquisitionStart  called just before the camera is told to send
    RegisterView(boost::shared_ptr<GenicamDevice> pDevice, std::function<void()> onAcquisitionStart);

    static RegisterBases GetBases();

    /// Registers at consecutive low addresses of the register space.
    /// Errors: ERR_READ_REGISTER_FAILED, ERR_WRITE_REGISTER_FAILED (both name the register), ERR_TIMEOUT,
    /// ERR_CAMERA_LOST, ERR_ACCESS_DENIED.
    Error Read(unsigned int addressLow, unsigned int* pValues, unsigned int count);
    Error Write(unsigned int addressLow, const unsigned int* pValues, unsigned int count);

  private:
    struct Row;
    static const Row kRows[];
    static const Row* FindRow(unsigned int addressLow);

    Error ReadPower(unsigned int* pValue);
    Error WritePower(unsigned int value);
    Error ReadTransmission(unsigned int* pValue);
    Error WriteTransmission(unsigned int value);
    Error StartAcquisition();

    const boost::shared_ptr<GenicamDevice> m_pDevice;
    const std::function<void()> m_onAcquisitionStart;
    bool m_isTransmitting = false;  // guarded by the device's access mutex
};

}  // namespace Zevrin
