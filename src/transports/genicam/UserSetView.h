#pragma once

#include <string>
#include <vector>

#include "DeviceFeatures.h"

namespace Zevrin {

/// The memory channels: channel 0 is the user set Default, channels 1 to 15 are the sets UserSet0, UserSet1
/// and so on that the device has, in the order of their numbers. The device's access mutex guards it.
class UserSetView {
  public:
    /// 0 when there are none.
    static unsigned int GetHighestChannel(DeviceFeatures& features);

    /// The channel that was loaded last.
    unsigned int GetChannel() const { return m_channel; }
    void Load(DeviceFeatures& features, unsigned int channel);

    unsigned int GetSaveChannel() const { return m_saveChannel; }
    void SetSaveChannel(unsigned int channel) { m_saveChannel = channel; }
    void Save(DeviceFeatures& features);

  private:
    unsigned int m_channel = 0;
    unsigned int m_saveChannel = 0;
};

}  // namespace Zevrin
