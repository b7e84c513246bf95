#pragma once

#include "zevrin/InterfaceType.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

/// A camera's identity and capabilities. Texts are null-terminated, printable, and shortened to fit.
struct CameraInfo {
    unsigned int serialNumber = 0;                    ///< the library's number of it
    InterfaceType interfaceType = INTERFACE_UNKNOWN;  ///< how it is reached
    bool isColorCamera = false;                       ///< has colour filters
    BayerTileFormat bayerTileFormat = BAYER_NONE;     ///< order of the filters
    unsigned int iidcVersion = 0;    ///< times 100: 131, 132; 0 when the camera has no IIDC registers
    unsigned int sensorWidth = 0;    ///< pixels
    unsigned int sensorHeight = 0;   ///< pixels
    char vendorName[64] = {};        ///< who made it
    char modelName[64] = {};         ///< what it is called
    char sensorInfo[64] = {};        ///< its sensor
    char firmwareVersion[64] = {};   ///< of its own program
    char address[64] = {};           ///< where on its bus or network the camera is
    unsigned int reserved[16] = {};  ///< zero; for later versions
};

}  // namespace Zevrin
