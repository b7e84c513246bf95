#include "Info.h"

#include <cstddef>
#include <cstring>
#include <string>

#include "Failure.h"
#include "FormatText.h"

namespace Zevrin {

namespace {

template <std::size_t N>
void CopyText(const std::string& text, char (&field)[N]) {
    const std::string printable = Printable(text, N - 1);
    std::memcpy(field, printable.c_str(), printable.size() + 1);
}

}  // namespace

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
    return Error();
}

}  // namespace Zevrin
