#pragma once

#include "zevrin/Export.h"

namespace Zevrin {

/// The transport over which a camera is reached.
enum InterfaceType : int {
    INTERFACE_IEEE1394 = 0,
    INTERFACE_USB2 = 1,
    INTERFACE_U3V = 2,
    INTERFACE_GIGE = 3,
    INTERFACE_UNKNOWN = 4
};

/// The interface's name, such as "GigE Vision".
/// Threads: any.
ZEVRIN_API const char* GetInterfaceTypeName(InterfaceType type) noexcept;

}  // namespace Zevrin
