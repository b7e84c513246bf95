#pragma once

#include <arv.h>

#include <string>

#include "DeviceListing.h"
#include "GObjectHandle.h"
#include "zevrin/Error.h"

namespace Zevrin {

/// Opens a device through Aravis, and finds out whether it is still the one that was listed and whether this
/// program controls it. Takes as long as Aravis does, which is seconds when the device is silent.
///
/// @param ownAddress  of this machine, in the network of a GigE Vision device; else empty
/// @param ppDevice    also set when the device could be opened but is another's
/// Errors: ERR_CAMERA_LOST, ERR_ACCESS_DENIED, ERR_TRANSPORT_FAILED. Threads: any.
Error OpenListedDevice(const DeviceListing& listing, const std::string& ownAddress,
                       GObjectHandle<ArvDevice>* ppDevice);

}  // namespace Zevrin
