#include "KeepAssertions.h"
// Before everything else.
#include "CameraInternal.h"
#include "CameraShapes.h"
#include "Image.h"
#include "Iso.h"

namespace Zevrin {

Error CameraInternal::RetrieveBuffer(Image* pImage) {
    return Wrapping(*this, [&] { return m_pIso->RetrieveBuffer(pImage); });
}

Error CameraInternal::WaitForBufferEvent(Image* pImage, unsigned int timeoutMs) {
    return Wrapping(*this, [&] { return m_pIso->WaitForBufferEvent(pImage, timeoutMs); });
}

// In the two operations that look at the stream's state first, another thread can start or stop the stream
// between the look and the call; the streaming component catches that.

Error CameraInternal::SetCallback(ImageCallback callback, const void* pCallbackData) {
    const Error error = Guard(*this);
    if (error != ERR_OK) {
        return error;
    }
    if (m_pIso->IsGrabStarted()) {
        return MakeError(ERR_ISOCH_ALREADY_STARTED, "Isoch has already been started.");
    }
    return Conclude(m_pIso->SetCallback(callback, pCallbackData), ERR_FAILED, "Failed to set callback data.");
}

Error CameraInternal::StopCapture() {
    const Error error = Guard(*this);
    if (error != ERR_OK) {
        return error;
    }
    if (!m_pIso->IsGrabStarted()) {
        return MakeError(ERR_ISOCH_NOT_STARTED, "Isoch has not been started.");
    }
    return Conclude(m_pIso->StopCapture(), ERR_ISOCH_STOP_FAILED, "Error stopping stream.");
}

Error CameraInternal::SetUserBuffers(unsigned char* pMemory, int bufferSize, int bufferCount) {
    const Error error = Guard(*this);
    if (error != ERR_OK) {
        return error;
    }
    return Conclude(m_pIso->SetUserBuffers(pMemory, bufferSize, bufferCount), ERR_FAILED,
                    "Failed setting user buffers.");
}

}  // namespace Zevrin
