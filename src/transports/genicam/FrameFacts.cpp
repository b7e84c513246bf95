#include "FrameFacts.h"

#include <algorithm>

#include "CycleTime.h"
#include "PixelFormats.h"

namespace Zevrin {

namespace {

constexpr guint64 kNanosecondsPerSecond = 1000000000ULL;
constexpr guint64 kNanosecondsPerMicrosecond = 1000;
constexpr guint64 kBitsPerByte = 8;

/// The time of arrival by the host's clock, and the cycle time by the camera's; of a camera without a clock,
/// by the host's. There is a stamp in any case: never are pixels to be taken for one.
void SetTimeStamp(ArvBuffer* pBuffer, FrameInfo* pInfo) {
    pInfo->hasTimeStamp = true;
    if (!HasLeader(pBuffer)) {
        pInfo->timeStamp = GetHostTime();
        return;
    }
    const guint64 hostTime = arv_buffer_get_system_timestamp(pBuffer);
    const guint64 ownTime = arv_buffer_get_timestamp(pBuffer);
    const guint64 cameraTime = ownTime != 0 ? ownTime : hostTime;
    pInfo->timeStamp.seconds = static_cast<long long>(hostTime / kNanosecondsPerSecond);
    pInfo->timeStamp.microSeconds =
        static_cast<unsigned int>(hostTime % kNanosecondsPerSecond / kNanosecondsPerMicrosecond);
    SetCycleTime(MakeCycleTime(cameraTime), &pInfo->timeStamp);
}

/// Of an incomplete frame, what Aravis tells may be of the former frame in the buffer.
bool HasImagePart(ArvBuffer* pBuffer) {
    return arv_buffer_get_status(pBuffer) == ARV_BUFFER_STATUS_SUCCESS &&
           arv_buffer_get_n_parts(pBuffer) > 0 &&
           arv_buffer_get_part_data_type(pBuffer, 0) == ARV_BUFFER_PART_DATA_TYPE_2D_IMAGE;
}

/// Where an image of this width and height has its rows, and the bytes that it takes.
struct Extent {
    guint64 rowBits;
    guint64 stride;  ///< 0: rows follow each other to the bit, as GigE Vision's packed formats do
    guint64 size;
};

/// Eight rows take as many bytes as one has bits, which keeps the product small.
Extent GetExtent(guint64 width, guint64 height, guint64 bitsPerPixel, guint64 padding) {
    const guint64 bits = width * bitsPerPixel;
    if (bits % kBitsPerByte != 0 && padding == 0) {
        const guint64 lastRows = (height % kBitsPerByte * bits + kBitsPerByte - 1) / kBitsPerByte;
        return {bits, 0, height / kBitsPerByte * bits + lastRows};
    }
    const guint64 stride = (bits + kBitsPerByte - 1) / kBitsPerByte + padding;
    return {stride * kBitsPerByte, stride, stride * height};
}

Extent SetExpectedShape(const StreamFormat& format, FrameInfo* pInfo) {
    const Extent extent = GetExtent(format.width, format.height, GetBitsPerPixel(format.pixelFormat), 0);
    pInfo->width = format.width;
    pInfo->height = format.height;
    pInfo->stride = static_cast<unsigned int>(extent.stride);
    pInfo->pixelFormat = format.pixelFormat;
    pInfo->bayerFormat = format.bayerFormat;
    pInfo->significantBits = format.significantBits;
    return extent;
}

/// False when a row would be longer than the whole image may be.
bool SetShape(ArvBuffer* pBuffer, std::size_t maxSize, FrameInfo* pInfo, Extent* pExtent) {
    gint x = 0;
    gint y = 0;
    gint width = 0;
    gint height = 0;
    gint paddingX = 0;
    gint paddingY = 0;
    arv_buffer_get_image_region(pBuffer, &x, &y, &width, &height);
    arv_buffer_get_image_padding(pBuffer, &paddingX, &paddingY);
    const ArvPixelFormat pixelFormat = arv_buffer_get_image_pixel_format(pBuffer);
    if (width < 0 || height < 0 || paddingX < 0) {
        return false;
    }
    const Extent extent =
        GetExtent(static_cast<guint64>(width), static_cast<guint64>(height),
                  ARV_PIXEL_FORMAT_BIT_PER_PIXEL(pixelFormat), static_cast<guint64>(paddingX));
    if (extent.rowBits / kBitsPerByte > maxSize) {
        return false;
    }
    const PixelLayout layout = GetPixelLayout(pixelFormat);
    pInfo->width = static_cast<unsigned int>(width);
    pInfo->height = static_cast<unsigned int>(height);
    pInfo->stride = static_cast<unsigned int>(extent.stride);
    pInfo->pixelFormat = layout.format;
    pInfo->bayerFormat = layout.bayerFormat;
    pInfo->significantBits = layout.depth;
    *pExtent = extent;
    return true;
}

}  // namespace

void ForgetLeader(ArvBuffer* pBuffer) {
    arv_buffer_set_frame_id(pBuffer, 0);
    arv_buffer_set_timestamp(pBuffer, 0);
}

/// GigE Vision has no frame 0. USB3 Vision has, and loses no leader without losing the frame.
bool HasLeader(ArvBuffer* pBuffer) {
    return arv_buffer_get_frame_id(pBuffer) != 0 ||
           arv_buffer_get_status(pBuffer) == ARV_BUFFER_STATUS_SUCCESS;
}

FrameInfo ReadFrameInfo(ArvBuffer* pBuffer, const StreamFormat& format) {
    FrameInfo info;
    info.isBigEndian = false;
    info.isComplete = arv_buffer_get_status(pBuffer) == ARV_BUFFER_STATUS_SUCCESS;
    Extent needed{};
    if (!HasImagePart(pBuffer)) {
        needed = SetExpectedShape(format, &info);
    } else if (!SetShape(pBuffer, format.payloadSize, &info, &needed)) {
        needed = SetExpectedShape(format, &info);
        info.isComplete = false;
    }
    // Of an incomplete frame Aravis does not tell which packets are there. The stream finds that out.
    std::size_t size = format.payloadSize;
    if (info.isComplete) {
        arv_buffer_get_data(pBuffer, &size);
    }
    info.receivedSize = std::min(size, format.payloadSize);
    // The shape is the camera's word: no row may lie outside of what arrived.
    if (needed.size > info.receivedSize) {
        info.isComplete = false;
        info.height = static_cast<unsigned int>(info.receivedSize * kBitsPerByte / needed.rowBits);
    }
    SetTimeStamp(pBuffer, &info);
    return info;
}

}  // namespace Zevrin
