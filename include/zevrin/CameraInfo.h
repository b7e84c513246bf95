#pragma once

#include "zevrin/InterfaceType.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

/// A camera's identity and capabilities. Texts are null-terminated, printable, and shortened to fit.
struct CameraInfo {
    unsigned int serialNumber = 0;
    InterfaceType interfaceType = INTERFACE_UNKNOWN;
    bool isColorCamera = false;
    BayerTileFormat bayerTileFormat = BAYER_NONE;
    unsigned int iidcVersion = 0;   ///< times 100: 131, 132; 0 when the camera has no IIDC registers
    unsigned int sensorWidth = 0;   ///< pixels
    unsigned int sensorHeight = 0;  ///< pixels
    char vendorName[64] = {};
    char modelName[64] = {};
    char sensorInfo[64] = {};
    char firmwareVersion[64] = {};
    char address[64] = {};  ///< where on its bus or network the camera is
    unsigned int reserved[16] = {};
};

}  // namespace Zevrin
