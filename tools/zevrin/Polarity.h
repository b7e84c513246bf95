#pragma once

#include "Choices.h"

namespace ZevrinTool {

/// Of trigger inputs and strobe outputs.
inline const Choices kPolarities = {{"low", 0}, {"high", 1}};

}  // namespace ZevrinTool
