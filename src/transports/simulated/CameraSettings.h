#pragma once

#include <cstddef>

#include "Description.h"
#include "RegisterFile.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

// What the command registers of a camera say, put together.

/// What the camera sends.
struct ImageSetup {
    unsigned int left = 0;
    unsigned int top = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    PixelFormat format = PIXEL_FORMAT_UNKNOWN;
    double period = 0;                 ///< seconds from frame to frame without a trigger
    unsigned long long readoutNs = 0;  ///< that a frame takes on the bus
    bool isValid = false;              ///< the settings fit together and the camera has them

    std::size_t GetSize() const;  ///< bytes
};

ImageSetup ReadImageSetup(const RegisterFile& registers, const CameraDescription& camera);

struct TriggerSettings {
    bool isOn = false;
    bool isActiveHigh = true;
    unsigned int source = 0;
    unsigned int mode = 0;
    unsigned int parameter = 0;
    unsigned long long delayNs = 0;
};

TriggerSettings ReadTrigger(const RegisterFile& registers);

/// Of an exposure that nothing cuts short.
unsigned long long ReadShutterNs(const RegisterFile& registers);

/// Whether the region, the colour coding and the packet size of format 7, mode 0, are possible.
bool IsFormat7RegionValid(const RegisterFile& registers, const CameraDescription& camera);
bool IsFormat7PacketValid(const RegisterFile& registers);
unsigned int GetFormat7PacketsPerFrame(const RegisterFile& registers);
std::size_t GetFormat7Size(const RegisterFile& registers);  ///< bytes

}  // namespace Zevrin
