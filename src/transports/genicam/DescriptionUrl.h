#pragma once

#include <string>

#include "zevrin/Error.h"

namespace Zevrin {

class ControlProbe;

/// Looks at where a GigE Vision device says its description is, before anything loads it: it is to be in the
/// device's own memory, not in a file or on a server, and no longer than 16 MiB. What cannot be read, or is
/// empty, is left to whoever loads it.
/// Errors: ERR_INVALID_DESCRIPTION.
Error CheckDescriptionUrls(ControlProbe& probe);

/// Whether such a URL, "Local:NAME;ADDRESS;SIZE" with hexadecimal numbers, is one to load from.
/// @return what is wrong with it; null: nothing
const char* FindUrlFault(const std::string& url);

}  // namespace Zevrin
