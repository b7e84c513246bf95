#pragma once

#include "IOBase.h"
#include "zevrin/CameraInfo.h"

namespace Zevrin {

/// Who the camera is and what it has.
/// Threads: any.
class Info : public IOBase {
  public:
    /// All fields but the Bayer tile format, which is the stream's. Sensor size and colour are taken from the
    /// image formats of a camera with IIDC registers when its identity does not tell them.
    /// Errors: ERR_INVALID_PARAMETER, ERR_NOT_CONNECTED.
    Error GetCameraInfo(CameraInfo* pInfo);

  private:
    void CompleteFromFormats(CameraInfo* pInfo);
};

}  // namespace Zevrin
