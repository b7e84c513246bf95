#pragma once

#include "RegisterFile.h"

namespace Zevrin {

/// What the camera does by itself: shutter and gain in auto mode bring the brightness to what the auto
/// exposure feature asks for, white balance goes to neutral, and one-push adjustments are done and their bits
/// cleared. Takes effect at once.
void AdjustAutomatically(RegisterFile* pRegisters);

}  // namespace Zevrin
