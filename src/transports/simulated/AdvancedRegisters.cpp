#include "DeviceLayout.h"
#include "DeviceRegisters.h"
#include "EmbeddedItems.h"

namespace Zevrin {

std::vector<RegisterRow> MakeAdvancedRegisters(const CameraDescription&) {
    return {
        {Advanced::kEmbeddedInfo, 1, kEmbeddedTimeStamp, Advanced::kEmbeddedInfoPresent, "FRAME_INFO"},
        {Advanced::kTransmitFailures, 1, 0xFFFFFFFFU, 0, "TRANSMIT_FAILURES"},
    };
}

}  // namespace Zevrin
