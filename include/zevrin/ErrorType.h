#pragma once

#include "zevrin/Export.h"

namespace Zevrin {

/// What kind of failure an `Error` reports. The numbers are part of the interface and never change.
enum ErrorType : int {
    ERR_OK = 0,
    ERR_FAILED = 1,
    ERR_NOT_IMPLEMENTED = 2,
    ERR_BUS_MASTER_FAILED = 3,
    ERR_NOT_CONNECTED = 4,
    ERR_ALREADY_CONNECTED = 5,
    ERR_CAMERA_NOT_FOUND = 6,
    ERR_INVALID_PARAMETER = 7,
    ERR_VALUE_OUT_OF_RANGE = 8,
    ERR_INVALID_ADDRESS = 9,
    ERR_FEATURE_ABSENT = 10,
    ERR_FEATURE_READ_ONLY = 11,
    ERR_INVALID_MODE = 12,
    ERR_INVALID_DESCRIPTION = 13,
    ERR_OUT_OF_MEMORY = 14,
    ERR_FILE_FAILED = 15,
    ERR_ACCESS_DENIED = 16,
    ERR_NOT_SUPPORTED = 17,
    ERR_TIMEOUT = 18,
    ERR_INTERFACE_NOT_FOUND = 19,
    ERR_INVALID_GENERATION = 20,
    ERR_CAMERA_LOST = 21,
    ERR_TRANSPORT_FAILED = 22,
    ERR_PROPERTY_FAILED = 23,
    ERR_TRIGGER_FAILED = 24,
    ERR_LUT_FAILED = 25,
    ERR_MEMORY_CHANNEL_FAILED = 26,
    ERR_REGISTER_FAILED = 27,
    ERR_READ_REGISTER_FAILED = 28,
    ERR_WRITE_REGISTER_FAILED = 29,
    ERR_ISOCH_FAILED = 30,
    ERR_ISOCH_ALREADY_STARTED = 31,
    ERR_ISOCH_NOT_STARTED = 32,
    ERR_ISOCH_START_FAILED = 33,
    ERR_ISOCH_RETRIEVE_FAILED = 34,
    ERR_ISOCH_STOP_FAILED = 35,
    ERR_ISOCH_SYNC_FAILED = 36,
    ERR_ISOCH_BUFFERS_FAILED = 37,
    ERR_EVENT_FAILED = 38,
    ERR_TIMESTAMP_FAILED = 39
};

/// The enumerator's name, such as "ERR_TIMEOUT"; "ERR_UNKNOWN" for a number that is none of them.
/// Threads: any.
ZEVRIN_API const char* GetErrorTypeName(ErrorType type) noexcept;

/// One plain sentence on the kind of failure, for an `Error` that carries no message of its own.
/// Threads: any.
ZEVRIN_API const char* GetErrorTypeText(ErrorType type) noexcept;

}  // namespace Zevrin
