#include "TestPicture.h"

#include <cstddef>

namespace {

constexpr guint32 kFrameCountRegister = 0x5000;  // in a part of its memory that the camera has no use for

/// On the camera's one thread, which also answers who reads the register.
void CountFrame(ArvFakeCamera* pCamera) {
    guint32 count = 0;
    arv_fake_camera_read_register(pCamera, kFrameCountRegister, &count);
    arv_fake_camera_write_register(pCamera, kFrameCountRegister, count + 1);
}

}  // namespace

void FillTestPicture(ArvBuffer* pBuffer, void* pData, guint32 /*exposureTimeUs*/, guint32 /*gain*/,
                     ArvPixelFormat pixelFormat) {
    CountFrame(static_cast<ArvFakeCamera*>(pData));
    std::size_t ignored = 0;  // what has been received: nothing, on this side
    auto* const bytes =
        const_cast<unsigned char*>(static_cast<const unsigned char*>(arv_buffer_get_data(pBuffer, &ignored)));
    const auto width = static_cast<std::size_t>(arv_buffer_get_image_width(pBuffer));
    const auto height = static_cast<std::size_t>(arv_buffer_get_image_height(pBuffer));
    const std::size_t stride = width * ARV_PIXEL_FORMAT_BIT_PER_PIXEL(pixelFormat) / 8;
    const guint64 frameNumber = arv_buffer_get_frame_id(pBuffer);
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t b = 0; b < stride; ++b) {
            bytes[y * stride + b] = static_cast<unsigned char>(b + y + frameNumber);
        }
    }
}
