#pragma once

#include <cstddef>
#include <string>

#include "zevrin/Error.h"
#include "zevrin/Export.h"

namespace Zevrin {

/// Writes bytes to a file that appears under its name when it is whole; a file of that name is replaced.
/// Errors: ERR_FILE_FAILED (names the file and the reason; nothing is left behind).
/// Threads: any, for different files.
ZEVRIN_API Error SaveBytes(const void* data, std::size_t size, const std::string& path);

}  // namespace Zevrin
