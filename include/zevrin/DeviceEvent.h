#pragma once

namespace Zevrin {

/// A device event as it is handed to the application.
struct DeviceEvent {
    const char* name = nullptr;           ///< valid during the callback
    unsigned int id = 0;                  ///< the transport's number of the event
    unsigned long long timeStamp = 0;     ///< nanoseconds of the camera's own clock
    const unsigned char* data = nullptr;  ///< event data, valid during the callback
    unsigned int dataSize = 0;            ///< bytes
    const void* userData = nullptr;       ///< as registered
};

/// Called for each event, on a thread of the library.
typedef void (*DeviceEventCallback)(const DeviceEvent* pEvent);

/// Which device event to register, and who wants it.
struct EventOptions {
    DeviceEventCallback callback = nullptr;  ///< not null
    const char* eventName = nullptr;         ///< not read when all events are registered
    const void* userData = nullptr;          ///< handed to the callback as it is
    unsigned int reserved[8] = {};           ///< zero; for later versions
};

}  // namespace Zevrin
