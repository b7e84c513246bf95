#include "Info.h"

#include <cstddef>
#include <cstring>
#include <string>

#include "Failure.h"
#include "Format7.h"
#include "FormatText.h"
#include "StandardModes.h"

namespace Zevrin {

namespace {

template <std::size_t N>
void CopyText(const std::string& text, char (&field)[N]) {
    const std::string printable = Printable(text, N - 1);
    std::memcpy(field, printable.c_str(), printable.size() + 1);
}

/// Colour codings that only a sensor with colour filters has; raw images are those of such a sensor too.
constexpr unsigned int kColorFormats = 1U << PIXEL_FORMAT_YUV411 | 1U << PIXEL_FORMAT_YUV422 |
                                       1U << PIXEL_FORMAT_YUV444 | 1U << PIXEL_FORMAT_RGB8 |
                                       1U << PIXEL_FORMAT_RGB16 | 1U << PIXEL_FORMAT_SIGNED_RGB16 |
                                       1U << PIXEL_FORMAT_RAW8 | 1U << PIXEL_FORMAT_RAW16;

}  // namespace

/// What the identity leaves open, from the image formats: the largest is the sensor's size. What the camera
/// does not answer stays open, for a camera is of use without it.
void Info::CompleteFromFormats(CameraInfo* pInfo) {
    bool isColor = false;
    unsigned int width = 0;
    unsigned int height = 0;
    for (unsigned int mode = 0; mode <= kMaxVideoMode; ++mode) {
        Format7Info format;
        unsigned int block = 0;
        if (Format7::ReadInfo(*this, mode, &format, &block) != ERR_OK) {
            break;
        }
        isColor = isColor || (format.pixelFormatMask & kColorFormats) != 0;
        if (format.maxWidth * format.maxHeight > width * height) {
            width = format.maxWidth;
            height = format.maxHeight;
        }
    }
    pInfo->isColorCamera = pInfo->isColorCamera || isColor;
    if (pInfo->sensorWidth == 0 || pInfo->sensorHeight == 0) {
        pInfo->sensorWidth = width;
        pInfo->sensorHeight = height;
    }
}

Error Info::GetCameraInfo(CameraInfo* pInfo) {
    boost::shared_ptr<HardwareInterface> pHardware;
    const Error error = RequireHardware(&pHardware);
    if (error != ERR_OK) {
        return error;
    }
    if (pInfo == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The camera information needs a record to go to.");
    }
    const CameraIdentity identity = pHardware->GetIdentity();
    *pInfo = CameraInfo();
    pInfo->serialNumber = identity.serialNumber;
    pInfo->interfaceType = identity.interfaceType;
    pInfo->isColorCamera = identity.isColor;
    pInfo->iidcVersion = identity.iidcVersion;
    pInfo->sensorWidth = identity.sensorWidth;
    pInfo->sensorHeight = identity.sensorHeight;
    CopyText(identity.vendorName, pInfo->vendorName);
    CopyText(identity.modelName, pInfo->modelName);
    CopyText(identity.sensorInfo, pInfo->sensorInfo);
    CopyText(identity.firmwareVersion, pInfo->firmwareVersion);
    CopyText(identity.address, pInfo->address);
    const bool isComplete = pInfo->isColorCamera && pInfo->sensorWidth != 0 && pInfo->sensorHeight != 0;
    if (identity.iidcVersion != 0 && !isComplete) {
        CompleteFromFormats(pInfo);
    }
    return Error();
}

}  // namespace Zevrin
