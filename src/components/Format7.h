#pragma once

#include <boost/thread/mutex.hpp>

#include "IOBase.h"
#include "zevrin/ImageFormat.h"

namespace Zevrin {

class RegisterSequence;

/// Image formats with a region and a colour coding of one's own. Which streams run is not looked at.
///
/// A record is filled whole or not at all.
/// Errors: ERR_INVALID_PARAMETER (no record), ERR_VALUE_OUT_OF_RANGE (no such mode in the standard), the
/// access's.
/// Threads: any; a change is one step for all users of this object.
class Format7 : public IOBase {
  public:
    Format7() = default;
    /// With another limit for the time that the camera may take to apply a setting.
    explicit Format7(unsigned int settingTimeoutMs) : m_settingTimeoutMs(settingTimeoutMs) {}

    /// A mode that the camera lacks is a success with `present` false.
    Error GetFormat7Info(Format7Info* pInfo);

    /// Errors: ERR_INVALID_MODE (the camera is in another format).
    Error GetFormat7(Format7Settings* pSettings);

    /// Sets the mode's region, colour coding and packet size, and makes it the current one.
    /// Errors: ERR_FEATURE_ABSENT (no such mode), ERR_VALUE_OUT_OF_RANGE (names what is possible),
    /// ERR_NOT_SUPPORTED (the pixel format; a choice of packet size), ERR_INVALID_MODE (the camera refuses
    /// the combination), ERR_TIMEOUT. What was changed until then is put back.
    Error SetFormat7(const Format7Settings* pSettings);

    /// What a mode can do, and where its registers are: 0 when the camera lacks it. For whatever component
    /// reaches the camera.
    static Error ReadInfo(IOBase& io, unsigned int mode, Format7Info* pInfo, unsigned int* pBlock);

  private:
    struct Region;
    struct Present;

    Error RequireMode(const Format7Settings& settings, unsigned int* pBlock);
    void WriteRegion(RegisterSequence& camera, unsigned int block, const Region& region);
    Error SetRegion(unsigned int block, const Region& region);
    Error SetPacketSize(unsigned int block, unsigned int packetSize);
    Error SelectMode(unsigned int mode);
    void PutBack(unsigned int block, const Present& present);

    static constexpr unsigned int kSettingTimeoutMs = 1000;

    boost::mutex
        m_mutex;  // guards the camera's format 7 registers from the first to the last access of a change
    const unsigned int m_settingTimeoutMs = kSettingTimeoutMs;
};

}  // namespace Zevrin
