#pragma once

#include <arv.h>

#include <cstddef>

#include "zevrin/Configuration.h"
#include "zevrin/Error.h"

namespace Zevrin {

class GenicamDevice;

/// Packet size and delay, which only a GigE Vision device has; set before its stream is created.
/// Errors: ERR_VALUE_OUT_OF_RANGE, the device's.
Error ApplyPacketSettings(GenicamDevice& device, const ZevrinConfig& config);

/// Socket buffer and resending of lost packets. Set before the device transmits: its first image needs room.
/// @param payloadSize  bytes of an image
void ApplyStreamSettings(ArvDevice* pDevice, ArvStream* pStream, const ZevrinConfig& config,
                         std::size_t payloadSize);

}  // namespace Zevrin
