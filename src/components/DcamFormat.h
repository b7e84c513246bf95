#pragma once

#include <boost/thread/mutex.hpp>

#include "IOBase.h"
#include "zevrin/ImageFormat.h"

namespace Zevrin {

/// The standard image formats. Which streams run is not looked at.
///
/// A record is filled whole or not at all.
/// Errors: ERR_INVALID_PARAMETER (no record), ERR_VALUE_OUT_OF_RANGE (no such number in the standard), the
/// access's.
/// Threads: any; a change is one step for all users of this object.
class DcamFormat : public IOBase {
  public:
    /// A mode that the camera or the standard lacks is a success with `present` false.
    Error GetVideoModeInfo(VideoModeInfo* pInfo);

    Error GetVideoMode(VideoModeSetting* pSetting);

    /// Errors: ERR_INVALID_MODE (the camera has no such format, mode or frame rate, or does not take it now).
    Error SetVideoMode(const VideoModeSetting* pSetting);

  private:
    boost::mutex m_mutex;  // guards the camera's choice of format, mode and rate, which belong together
};

}  // namespace Zevrin
