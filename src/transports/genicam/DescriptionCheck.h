#pragma once

#include "zevrin/Error.h"

namespace Zevrin {

class GenicamDevice;

/// Whether what a device says of its features can be worked out: the value of none may come from itself, and
/// of none from so many others that finding it out does not end. Aravis follows any reference.
/// Errors: ERR_INVALID_DESCRIPTION (names the feature), ERR_CAMERA_LOST.
Error CheckDescription(GenicamDevice& device);

}  // namespace Zevrin
