#pragma once

#include "zevrin/ErrorType.h"

namespace Zevrin {

/// What a camera that has come back is to be set to.
enum ReconnectSettings : unsigned int {
    RECONNECT_RESTORE = 0,  ///< what was written through the camera object, in the order of the last writes
    RECONNECT_KEEP = 1      ///< nothing: the camera keeps its own state
};

/// What a reconnection has come to.
enum ReconnectStep : unsigned int {
    RECONNECT_LOST = 0,    ///< the connection is stale; its stream has been ended
    RECONNECT_TRY_FAILED,  ///< with `error`; it is tried again
    RECONNECT_CONNECTED,   ///< the camera is there again
    RECONNECT_RESTORED,    ///< `count` registers were put back; `error` of the first that the camera refused
    RECONNECT_RESUMED,     ///< the stream runs again, its `count`-th gap marked in the images
    RECONNECT_DONE,        ///< operations work again
    RECONNECT_GAVE_UP      ///< the time is over; `Connect` can still be called
};

/// One step of a reconnection.
struct ReconnectReport {
    unsigned int serialNumber = 0;        ///< of the camera
    ReconnectStep step = RECONNECT_LOST;  ///< what has happened
    unsigned int tries = 0;               ///< so far
    unsigned int elapsedMs = 0;           ///< since the loss was noticed
    unsigned int count = 0;               ///< as the step says
    ErrorType error = ERR_OK;             ///< as the step says
    const char* description = nullptr;    ///< of the error, valid during the callback; empty without one
    const void* userData = nullptr;       ///< as in the policy
};

/// Called with each step, on a thread of the library. It may use the camera, and neither connect, disconnect
/// or destroy it nor change its policy.
typedef void (*ReconnectCallback)(const ReconnectReport* pReport);

/// Whether, and how, a camera object connects again by itself after a bus reset or the loss of its camera.
struct ReconnectPolicy {
    unsigned int limitMs = 0;                        ///< how long it is tried; 0: not at all
    unsigned int intervalMs = 250;                   ///< between tries, 1 to 60000
    ReconnectSettings settings = RECONNECT_RESTORE;  ///< what is put back
    ReconnectCallback callback = nullptr;            ///< null: nobody is told
    const void* userData = nullptr;                  ///< handed to the callback as it is
    unsigned int reserved[8] = {};                   ///< zero; for later versions
};

}  // namespace Zevrin
