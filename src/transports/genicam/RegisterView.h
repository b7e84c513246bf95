#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <functional>
#include <optional>

#include "LutView.h"
#include "PropertyView.h"
#include "RegionView.h"
#include "RegisterAccess.h"
#include "UserSetView.h"

namespace Zevrin {

class GenicamDevice;

/// The IIDC command registers that a GenICam camera is given: each is a row of a table that says by which
/// features it is read and written. What has no row cannot be accessed; what the camera lacks is absent, as
/// its presence bits say.
///
/// The device's access mutex is held for a run of registers, and guards what the views remember. So a
/// register that takes several features is read and written as a whole, whoever else is at the device.
class RegisterView : public RegisterAccess {
  public:
    /// @param onAcquisitionStart  called just before the camera is told to send
    RegisterView(boost::shared_ptr<GenicamDevice> pDevice, std::function<void()> onAcquisitionStart);

    Error Read(unsigned int addressLow, unsigned int* pValues, unsigned int count) override;
    Error Write(unsigned int addressLow, const unsigned int* pValues, unsigned int count) override;

  private:
    struct Row;
    struct Run;
    static const Row kRows[];
    static const Row* FindRow(unsigned int addressLow, unsigned int* pIndex);

    void LoadUserSet(DeviceFeatures& features, unsigned int channel);
    void WriteTransmission(DeviceFeatures& features, unsigned int value);

    const boost::shared_ptr<GenicamDevice> m_pDevice;
    const std::function<void()> m_onAcquisitionStart;

    // Guarded by the device's access mutex.
    PropertyView m_properties;
    RegionView m_region;
    UserSetView m_userSets;
    bool m_isTransmitting = false;
    double m_framesLostBefore = 0;  // the reset of a count that the device itself does not reset
};

}  // namespace Zevrin
