#pragma once

#include "IOBase.h"

namespace Zevrin {

/// Image formats with a region and a colour coding of one's own.
class Format7 : public IOBase {};

}  // namespace Zevrin
