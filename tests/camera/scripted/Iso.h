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
    bool IsGrabStarted() {
        ++Script::Get().grabStartedQueries;
        return Script::Get().isGrabStarted;
    }
    Error GetBayerFormat(BayerTileFormat* pFormat) {
        const Error error = Script::Answer("Iso::GetBayerFormat", pFormat);
        if (error == ERR_OK) {
            *pFormat = Script::Get().bayerFormat;
        }
        return error;
    }
    Error CacheEmbeddedImageInfo(unsigned int value) {
        return Script::Answer("Iso::CacheEmbeddedImageInfo", value);
    }
    unsigned int GetNumOfImageCorrupt() { return Count("Iso::GetNumOfImageCorrupt", 1); }
    unsigned int GetNumOfImageDriverDropped() { return Count("Iso::GetNumOfImageDriverDropped", 2); }
    unsigned int GetNumOfImageDropped() { return Count("Iso::GetNumOfImageDropped", 3); }
    unsigned int GetNumResendPacketsReceived() { return Count("Iso::GetNumResendPacketsReceived", 4); }
    unsigned int GetNumResendPacketsRequested() { return Count("Iso::GetNumResendPacketsRequested", 5); }
    void ResetNumOfImageCorrupt() { Count("Iso::ResetNumOfImageCorrupt", 0); }
    void ResetNumOfImageDriverDropped() { Count("Iso::ResetNumOfImageDriverDropped", 0); }
    void ResetNumOfImageDropped() { Count("Iso::ResetNumOfImageDropped", 0); }
    Error ResetNumResendPacketsReceived() { return Script::Answer("Iso::ResetNumResendPacketsReceived"); }
    Error ResetNumResendPacketsRequested() { return Script::Answer("Iso::ResetNumResendPacketsRequested"); }

  private:
    static unsigned int Count(const char* operation, unsigned int count) {
        static_cast<void>(Script::Answer(operation));
        return count;
    }
};

}  // namespace Zevrin
