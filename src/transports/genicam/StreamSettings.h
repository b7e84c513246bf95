#pragma once

#include <arv.h>

#include "zevrin/Configuration.h"
#include "zevrin/Error.h"

namespace Zevrin {

class GenicamDevice;

/// Packet size and delay, which only a GigE Vision device has; set before its stream is created.
/// Errors: ERR_VALUE_OUT_OF_RANGE, the device's.
Error ApplyPacketSettings(GenicamDevice& device, const ZevrinConfig& config);

/// Socket buffer and resending of lost packets.
void ApplyStreamSettings(ArvStream* pStream, const ZevrinConfig& config);

}  // namespace Zevrin
