#pragma once

#include "zevrin/PixelFormat.h"

namespace Zevrin {

class SimulatedDevice;

/// What the camera sends with its present settings.
struct ImageSetup {
    unsigned int left = 0;
    unsigned int top = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    PixelFormat format = PIXEL_FORMAT_UNKNOWN;
    double frameRate = 0;  ///< frames per second
    bool isValid = false;  ///< the settings fit together and the camera has them
};

/// The region and colour coding of format 7, mode 0, as its registers say; without the frame rate.
ImageSetup GetFormat7Setup(const SimulatedDevice& device);

/// Whether the packet size is possible too.
bool IsFormat7Ready(const SimulatedDevice& device);

/// Frames per second that the packet size allows.
double GetFormat7MaxRate(const SimulatedDevice& device);

}  // namespace Zevrin
