#pragma once

#include <arv.h>

#include <string>

#include "zevrin/Error.h"

namespace Zevrin {

class GenicamDevice;

/// Whether what a device says of its features can be worked out: the value of none may come from itself, and
/// of none from so many others that finding it out does not end. Aravis follows any reference.
/// Errors: ERR_INVALID_DESCRIPTION (names the feature), ERR_CAMERA_LOST.
Error CheckDescription(GenicamDevice& device);

/// The same, of a description that no device need be there for.
/// @return what is wrong with it, printable; empty: nothing
/// Threads: one thread at a time for one description.
std::string FindDescriptionFault(ArvGc* pDescription);

}  // namespace Zevrin
