#pragma once

#include <string>

#include "zevrin/Error.h"

namespace Zevrin {

/// What a failure knows about itself. Never changed once an `Error` holds it.
struct ErrorDetails {
    std::string description;
    const char* file = "";  ///< string literal, without folders
    int line = 0;
    const char* buildDate = "";
    const char* buildTime = "";
    Error cause;
};

}  // namespace Zevrin
