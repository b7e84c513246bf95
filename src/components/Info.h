#pragma once

#include "IOBase.h"
#include "zevrin/CameraInfo.h"

namespace Zevrin {

/// Who the camera is and what it has.
/// Threads: any.
class Info : public IOBase {
  public:
    /// All fields but the Bayer tile format, which is the stream's.
    /// Errors: ERR_INVALID_PARAMETER, ERR_NOT_CONNECTED.
    Error GetCameraInfo(CameraInfo* pInfo);
};

}  // namespace Zevrin
