#pragma once

#include "zevrin/Error.h"

namespace Zevrin {

class GenicamDevice;

/// Whether what a device says of its features can be worked out: none may come from itself, and none from so
/// many others that finding out a value does not end in this life. Aravis follows any reference.
/// Errors: ERR_INVALID_DESCRIPTION (names the feature), ERR_CAMERA_LOST.
Error CheckDescription(GenicamDevice& device);

}  // namespace Zevrin
