#pragma once

#include <vector>

#include "Description.h"
#include "RegisterFile.h"

namespace Zevrin {

// The register table of a camera, by group. All but the first count from the command registers.

/// The IEEE 1394 registers at the beginning of the initial register space: cycle time, configuration ROM.
std::vector<RegisterRow> MakeCoreRegisters(const CameraDescription& camera);

/// Inquiry of formats, modes and rates; initialise, power, transmission, the choice of
/// format, memory channels.
std::vector<RegisterRow> MakeControlRegisters(const CameraDescription& camera);

/// Format 7, mode 0.
std::vector<RegisterRow> MakeFormat7Registers(const CameraDescription& camera);

/// Features with their inquiry and their absolute values.
std::vector<RegisterRow> MakeFeatureRegisters(const CameraDescription& camera);

/// Trigger, software trigger, one and multi shot.
std::vector<RegisterRow> MakeTriggerRegisters(const CameraDescription& camera);

/// Strobes, direction and levels of the pins.
std::vector<RegisterRow> MakePinRegisters(const CameraDescription& camera);

/// The look-up table.
std::vector<RegisterRow> MakeLutRegisters(const CameraDescription& camera);

/// Registers that the standard leaves to the camera.
std::vector<RegisterRow> MakeAdvancedRegisters(const CameraDescription& camera);

}  // namespace Zevrin
