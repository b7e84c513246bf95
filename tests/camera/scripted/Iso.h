#pragma once

#include "IOBase.h"
#include "zevrin/Callbacks.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

class Iso : public IOBase {
  public:
    Iso() : IOBase("Iso") {}

    Error RetrieveBuffer(Image* pImage) { return Script::Answer("Iso::RetrieveBuffer", pImage); }
    Error WaitForBufferEvent(Image* pImage, unsigned int timeoutMs) {
        return Script::Answer("Iso::WaitForBufferEvent", pImage, timeoutMs);
    }
    Error SetCallback(ImageCallback callback, const void* pData) {
        return Script::Answer("Iso::SetCallback", reinterpret_cast<const void*>(callback), pData);
    }
    Error SetUserBuffers(unsigned char* pMemory, int size, int count) {
        return Script::Answer("Iso::SetUserBuffers", static_cast<void*>(pMemory), size, count);
    }
    Error StopCapture() { return Script::Answer("Iso::StopCapture"); }
    bool IsGrabStarted() { return Script::Get().isGrabStarted; }
    Error GetBayerFormat(BayerTileFormat* pFormat) { return Script::Answer("Iso::GetBayerFormat", pFormat); }
};

}  // namespace Zevrin
