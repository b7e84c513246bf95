#include "DcamFormat.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <iterator>

#include "Failure.h"
#include "RegisterFields.h"
#include "RegisterSequence.h"
#include "Registers.h"
#include "StandardModes.h"

namespace Zevrin {

namespace {

const StandardMode* FindMode(unsigned int format, unsigned int mode) {
    const auto* const pFound = std::find_if(
        std::begin(kStandardModes), std::end(kStandardModes),
        [&](const StandardMode& candidate) { return candidate.format == format && candidate.mode == mode; });
    return pFound != std::end(kStandardModes) ? pFound : nullptr;
}

Error CheckNumber(const char* what, unsigned int number, unsigned int max) {
    return number <= max
               ? Error()
               : Failure(ERR_VALUE_OUT_OF_RANGE, "The %s is %u; it must be 0 to %u.", what, number, max);
}

Error CheckMode(unsigned int format, unsigned int mode) {
    const Error error = CheckNumber("standard image format", format, kMaxStandardFormat);
    return error != ERR_OK ? error : CheckNumber("mode", mode, kMaxVideoMode);
}

VideoModeSetting ReadMode(RegisterSequence& camera) {
    VideoModeSetting setting;
    setting.format = kVideoModeField.Get(camera.Read(Register::kCurrentFormat));
    setting.mode = kVideoModeField.Get(camera.Read(Register::kCurrentMode));
    setting.frameRate = kVideoModeField.Get(camera.Read(Register::kCurrentFrameRate));
    return setting;
}

void WriteMode(RegisterSequence& camera, const VideoModeSetting& setting) {
    camera.Write(Register::kCurrentFormat, kVideoModeField.Make(setting.format));
    camera.Write(Register::kCurrentMode, kVideoModeField.Make(setting.mode));
    // Format 7 has no frame rate of this kind; a camera may refuse the write.
    if (setting.format != kScalableImageFormat) {
        camera.Write(Register::kCurrentFrameRate, kVideoModeField.Make(setting.frameRate));
    }
}

}  // namespace

Error DcamFormat::GetVideoModeInfo(VideoModeInfo* pInfo) {
    if (pInfo == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The video mode's information needs a record to go to.");
    }
    const Error error = CheckMode(pInfo->format, pInfo->mode);
    if (error != ERR_OK) {
        return error;
    }
    VideoModeInfo info;
    info.format = pInfo->format;
    info.mode = pInfo->mode;
    RegisterSequence camera(*this);
    if (const StandardMode* const pMode = FindMode(info.format, info.mode)) {
        info.width = pMode->width;
        info.height = pMode->height;
        info.pixelFormat = pMode->pixelFormat;
        const unsigned int modeRegister = Register::kModeInquiry + kRegisterSize * info.format;
        info.present = (camera.Read(Register::kFormatInquiry) & RegisterBit(info.format)) != 0 &&
                       (camera.Read(modeRegister) & RegisterBit(info.mode)) != 0;
    }
    if (info.present) {
        const unsigned int rates = camera.Read(
            Register::kFrameRateInquiry + kFrameRateFormatSize * info.format + kRegisterSize * info.mode);
        info.frameRateMask = GetFlags(rates, kVideoFlags);
    }
    if (!camera.HasFailed()) {
        *pInfo = info;
    }
    return camera.GetError();
}

Error DcamFormat::GetVideoMode(VideoModeSetting* pSetting) {
    if (pSetting == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The video mode needs a record to go to.");
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    RegisterSequence camera(*this);
    const VideoModeSetting setting = ReadMode(camera);
    if (!camera.HasFailed()) {
        *pSetting = setting;
    }
    return camera.GetError();
}

Error DcamFormat::SetVideoMode(const VideoModeSetting* pSetting) {
    if (pSetting == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The video mode needs a record to come from.");
    }
    VideoModeInfo info;
    info.format = pSetting->format;
    info.mode = pSetting->mode;
    Error error = GetVideoModeInfo(&info);
    if (error == ERR_OK) {
        error = CheckNumber("frame rate", pSetting->frameRate, kStandardFrameRateCount - 1);
    }
    if (error == ERR_OK && !info.present) {
        error = Failure(ERR_INVALID_MODE, "This camera has no mode %u of format %u.", info.mode, info.format);
    } else if (error == ERR_OK && (info.frameRateMask >> pSetting->frameRate & 1) == 0) {
        error = Failure(ERR_INVALID_MODE, "This camera has no frame rate %u in mode %u of format %u.",
                        pSetting->frameRate, info.mode, info.format);
    }
    if (error != ERR_OK) {
        return error;
    }
    boost::lock_guard<boost::mutex> lock(m_mutex);
    RegisterSequence camera(*this);
    const VideoModeSetting old = ReadMode(camera);
    if (camera.HasFailed()) {
        return camera.GetError();
    }
    WriteMode(camera, *pSetting);
    const VideoModeSetting now = ReadMode(camera);
    error = camera.GetError();
    if (error == ERR_OK && (now.format != pSetting->format || now.mode != pSetting->mode ||
                            now.frameRate != pSetting->frameRate)) {
        error = Failure(ERR_INVALID_MODE,
                        "The camera does not take mode %u of format %u with frame rate %u; it stays in mode "
                        "%u of format %u with %u. It may be transmitting.",
                        pSetting->mode, pSetting->format, pSetting->frameRate, now.mode, now.format,
                        now.frameRate);
    }
    if (error != ERR_OK) {
        RegisterSequence rate(*this);  // before format 7, in which it may be refused
        rate.Write(Register::kCurrentFrameRate, kVideoModeField.Make(old.frameRate));
        RegisterSequence undo(*this);
        WriteMode(undo, old);
    }
    return error;
}

}  // namespace Zevrin
