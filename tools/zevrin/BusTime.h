#pragma once

#include <zevrin/TimeStamp.h>

#include "Output.h"

namespace ZevrinTool {

/// The bus time and when it was taken, as facts; their values are null for a stamp that is all 0.
Facts DescribeBusTime(const Zevrin::TimeStamp& stamp);

}  // namespace ZevrinTool
