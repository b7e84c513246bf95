#pragma once

#include "IOBase.h"
#include "zevrin/CameraInfo.h"

namespace Zevrin {

class Info : public IOBase {
  public:
    Info() : IOBase("Info") {}

    Error GetCameraInfo(CameraInfo* pInfo) {
        *pInfo = Script::Get().cameraInfo;
        return Script::Answer("Info::GetCameraInfo", pInfo);
    }
};

}  // namespace Zevrin
