#include "TestPicture.h"

#include <cstddef>

void FillTestPicture(ArvBuffer* pBuffer, void* /*pData*/, guint32 /*exposureTimeUs*/, guint32 /*gain*/,
                     ArvPixelFormat pixelFormat) {
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
