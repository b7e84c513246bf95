#pragma once

#include <spdlog/logger.h>

namespace Zevrin {

/// The library's log, to standard error. Off unless the environment variable ZEVRIN_LOG names a level:
/// trace, debug, info, warn or error.
/// Threads: any.
spdlog::logger& Log();

}  // namespace Zevrin
