#pragma once

#include <array>
#include <optional>

#include "DeviceFeatures.h"
#include "PixelFormats.h"

namespace Zevrin {

/// The image format: format 7, with Width, Height, OffsetX, OffsetY and PixelFormat as its region, and
/// BinningHorizontal and BinningVertical as its modes. The device's access mutex guards it.
///
/// What is written to the block of a mode waits until the mode is chosen; that of the present mode is written
/// to the device at once.
class RegionView {
  public:
    static bool IsThere(DeviceFeatures& features);

    /// Mode m is bit m of the IIDC numbering.
    static unsigned int ReadModes(DeviceFeatures& features);
    static unsigned int ReadMode(DeviceFeatures& features);
    void WriteMode(DeviceFeatures& features, unsigned int mode);

    /// DATA_DEPTH: the bits of a sample that mean something.
    static unsigned int ReadDataDepth(DeviceFeatures& features);

    /// @param offset  of a quadlet in a Format7Block
    unsigned int Read(DeviceFeatures& features, unsigned int mode, unsigned int offset);
    void Write(DeviceFeatures& features, unsigned int mode, unsigned int offset, unsigned int word);

    /// The camera's settings have been replaced: nothing waits any more.
    void DropWaiting() { m_waiting = {}; }

  private:
    /// In pixels of the mode.
    struct Region {
        unsigned int position = 0;  // values of the registers
        unsigned int size = 0;
        unsigned int coding = 0;
    };
    struct Row;
    static const Row kRows[];

    static unsigned int ReadMaxSize(DeviceFeatures& features, unsigned int mode);
    static unsigned int ReadUnits(DeviceFeatures& features, const char* horizontal, const char* vertical);
    static Region ReadPresent(DeviceFeatures& features);
    static void Apply(DeviceFeatures& features, const Region& region);
    Region Get(DeviceFeatures& features, unsigned int mode) const;
    void Check(DeviceFeatures& features, unsigned int mode, const Region& region) const;

    std::array<std::optional<Region>, 8> m_waiting;  // by mode
};

}  // namespace Zevrin
