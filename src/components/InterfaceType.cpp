#include "zevrin/InterfaceType.h"

namespace Zevrin {

const char* GetInterfaceTypeName(InterfaceType type) noexcept {
    switch (type) {
        case INTERFACE_IEEE1394:
            return "IEEE 1394";
        case INTERFACE_USB2:
            return "USB 2";
        case INTERFACE_U3V:
            return "USB3 Vision";
        case INTERFACE_GIGE:
            return "GigE Vision";
        case INTERFACE_UNKNOWN:
            break;
    }
    return "unknown";
}

}  // namespace Zevrin
