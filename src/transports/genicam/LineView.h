#pragma once

#include "DeviceFeatures.h"

namespace Zevrin {

/// Pins and strobe outputs. Pin n is LineN; it is an output where its LineMode says so. Strobe n is LineN
/// where that can be an output with the source ExposureActive: on, with that source; off, with the source Off
/// or, where there is none, a user output. The level of an active output is LineInverter's. The standard has
/// no delay and duration of such an output, so both are 0.
class LineView {
  public:
    static bool HasLines(DeviceFeatures& features);

    /// Of all 32 pins; pin n is bit n of the IIDC numbering.
    static unsigned int ReadDirections(DeviceFeatures& features);
    static void WriteDirections(DeviceFeatures& features, unsigned int word);

    /// The strobe outputs that there are, as STROBE_CTRL_INQ has them.
    static unsigned int ReadStrobes(DeviceFeatures& features);
    static unsigned int ReadStrobeInquiry(DeviceFeatures& features, unsigned int output);
    static unsigned int ReadStrobe(DeviceFeatures& features, unsigned int output);
    static void WriteStrobe(DeviceFeatures& features, unsigned int output, unsigned int word);
};

}  // namespace Zevrin
