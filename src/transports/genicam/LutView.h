#pragma once

#include "DeviceFeatures.h"

namespace Zevrin {

/// The block of the look-up table: one bank, one channel for each entry of LUTSelector (or just one), from
/// the bits of LUTIndex to those of LUTValue.
class LutView {
  public:
    static bool IsThere(DeviceFeatures& features);
    static unsigned int ReadInquiry(DeviceFeatures& features);
    static unsigned int ReadControl(DeviceFeatures& features);
    static void WriteControl(DeviceFeatures& features, unsigned int word);
    static unsigned int ReadBankStatus(DeviceFeatures& features);

    /// For the accesses of one run. Finding out what the table looks like takes several accesses.
    explicit LutView(DeviceFeatures& features);
    unsigned int ReadEntry(unsigned int index);
    void WriteEntry(unsigned int index, unsigned int value);

    /// Entries in all channels.
    unsigned int GetSize() const { return m_entries * static_cast<unsigned int>(m_channels.size()); }

  private:
    bool SelectEntry(unsigned int index);

    DeviceFeatures& m_features;
    std::vector<std::string> m_channels;
    unsigned int m_entries = 0;
};

}  // namespace Zevrin
