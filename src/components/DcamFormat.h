#pragma once

#include "IOBase.h"

namespace Zevrin {

/// The standard image formats.
class DcamFormat : public IOBase {};

}  // namespace Zevrin
