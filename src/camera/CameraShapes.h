#pragma once

#include "CameraInternal.h"
#include "InternalError.h"

namespace Zevrin {

// How the camera object fails. All of its errors name "CameraInternal.cpp" and that file's build date and
// time, whichever of its source files noticed the failure.

/// A failure of the camera object's own, without or with the error that caused it.
Error MakeError(ErrorType type, const char* message, int line = __builtin_LINE());
Error MakeError(ErrorType type, const Error& cause, const char* message, int line = __builtin_LINE());

/// A failure that is passed up: it keeps its type and becomes the cause. Its description is the format of
/// the new message, so a per-cent sign in it is read as a directive.
Error Wrap(const Error& failure, int line = __builtin_LINE());

/// Costs no allocation.
inline Error Success() {
    return InternalError(ERR_OK);
}

// The shapes of an operation.

/// The guard with which operations begin: `CheckValidity`, wrapped when it fails.
inline Error Guard(const CameraInternal& camera, int line = __builtin_LINE()) {
    Error error = camera.CheckValidity();
    if (error != ERR_OK) {
        return Wrap(error, line);
    }
    return error;  // moved: nearly every operation comes this way
}

/// Guard, one component operation, its failure wrapped.
template <typename Operation>
Error Wrapping(const CameraInternal& camera, const Operation& operation, int line = __builtin_LINE()) {
    Error error = Guard(camera, line);
    if (error != ERR_OK) {
        return error;
    }
    error = operation();
    return error != ERR_OK ? Wrap(error, line) : Success();
}

/// Guard, one component operation, its result as it is.
template <typename Operation>
Error GuardedPassThrough(const CameraInternal& camera, const Operation& operation,
                         int line = __builtin_LINE()) {
    Error error = Guard(camera, line);
    if (error != ERR_OK) {
        return error;
    }
    return operation();
}

/// The end of an operation that has a message of its own for its component's failure.
inline Error Conclude(const Error& result, ErrorType type, const char* message, int line = __builtin_LINE()) {
    return result != ERR_OK ? MakeError(type, result, message, line) : Success();
}

}  // namespace Zevrin
