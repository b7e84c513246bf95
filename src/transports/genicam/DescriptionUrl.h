#pragma once

#include <string>
#include <vector>

#include "zevrin/Error.h"

namespace Zevrin {

class ControlProbe;

/// Looks at where a GigE Vision device says its description is, before anything loads it: it is to be in the
/// device's own memory, not in a file or on a server, and no longer than 16 MiB, also when it is unpacked.
/// What cannot be read within half a minute, or is empty, is left to whoever loads it. Errors:
/// ERR_INVALID_DESCRIPTION.
Error CheckDescriptionUrls(ControlProbe& probe);

/// Whether such a URL, "Local:NAME;ADDRESS;SIZE" with hexadecimal numbers, is one to load from.
/// @return what is wrong with it; null: nothing
const char* FindUrlFault(const std::string& url);

/// Whether a zip archive can be unpacked, by the sizes that it tells.
/// @return what is wrong with it; null: nothing, also when it is none
const char* FindArchiveFault(const std::vector<unsigned char>& file);

}  // namespace Zevrin
