#pragma once

#include "zevrin/Error.h"

namespace Zevrin {

/// A kind of failure together with the place in the source where it was noticed: converting the type
/// implicitly at the call records that place.
struct FailureSite {
    FailureSite(ErrorType kind,  // NOLINT(google-explicit-constructor)
                const char* sourceFile = __builtin_FILE(), int sourceLine = __builtin_LINE()) noexcept
        : type(kind), file(sourceFile), line(sourceLine) {}

    ErrorType type;
    const char* file;
    int line;
};

/// How everything below the camera object fails: an `Error` with a printf-style message, and with the
/// failure that led to it.
///
/// The message never carries a per-cent sign, whatever its arguments held, because the camera object uses
/// it as a format. Texts from outside go through `Printable` first.
Error Failure(FailureSite site, const char* format, ...) __attribute__((format(printf, 2, 3)));
Error FailureBecause(FailureSite site, const Error& cause, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

}  // namespace Zevrin
