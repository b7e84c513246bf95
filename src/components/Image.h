#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <cstddef>
#include <vector>

#include "zevrin/ByteRange.h"
#include "zevrin/Error.h"
#include "zevrin/Export.h"
#include "zevrin/PixelFormat.h"
#include "zevrin/TimeStamp.h"

namespace Zevrin {

class FrameQueue;
struct Frame;

/// An image of a stream: the very buffer that the transport filled, held until it is released.
///
/// Stays readable after its stream has stopped and after its camera is gone. Retrieving into an image
/// releases what it held before.
/// Threads: one thread at a time; different images from any threads.
class ZEVRIN_API Image {
  public:
    Image() = default;
    virtual ~Image();
    Image(Image&& other) noexcept;             ///< takes the buffer over
    Image& operator=(Image&& other) noexcept;  ///< releases what it held, and takes the buffer over
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    /// When the image was taken: the bus time that the camera or the transport stamped it with, or the
    /// time of its arrival with the cycle fields 0. All zero without an image.
    virtual TimeStamp GetTimeStamp() const;

    /// Gives the buffer back to the stream; the image is empty afterwards. Does nothing when it is empty.
    /// Errors: none.
    virtual Error ReleaseBuffer();

    /// Whether the image holds a buffer. Without one every query below gives 0 or its like.
    bool HasData() const noexcept { return m_pFrame != nullptr; }

    /// The pixels, row by row; `GetDataSize` bytes of them are valid.
    const unsigned char* GetData() const noexcept;
    std::size_t GetDataSize() const noexcept;  ///< bytes

    unsigned int GetWidth() const noexcept;   ///< pixels
    unsigned int GetHeight() const noexcept;  ///< pixels

    /// Bytes from one row to the next. 0 when rows follow each other to the bit, so that some begin within a
    /// byte: packed formats with an odd width, where pixel n of the image begins at bit n times
    /// `GetBitsPerPixel`.
    unsigned int GetStride() const noexcept;

    PixelFormat GetPixelFormat() const noexcept;          ///< how pixels are laid out
    BayerTileFormat GetBayerTileFormat() const noexcept;  ///< of raw images
    bool IsBigEndian() const noexcept;                    ///< of samples wider than a byte

    /// Bits of a sample that mean something, at its low end: 12 for a Raw16 image of a camera that sends 12
    /// bits. 0 when that is not known; all bits of the pixel format then do.
    unsigned int GetSignificantBits() const noexcept;

    /// The camera's own number of this frame; gaps tell of lost frames.
    unsigned long long GetFrameId() const noexcept;

    /// How often the stream was interrupted before this image and resumed by the camera object's reconnect
    /// policy: the first image after a gap has one more than the last before it. What the camera took in
    /// between is not among the stream's counts. Frame ids begin anew after a gap.
    unsigned int GetGaps() const noexcept;

    /// False when part of the image was lost on its way and the rest was asked for.
    bool IsComplete() const noexcept;

    /// What was lost within `GetDataSize` bytes, in order; these bytes are 0, all others are as they were
    /// sent. Empty for a complete image, and where only the end is lost, which `GetDataSize` tells. Valid
    /// for as long as the image holds its buffer.
    const std::vector<ByteRange>& GetMissingParts() const noexcept;

  private:
    friend class Iso;

    /// Takes over a frame that the queue has given out.
    void Hold(const boost::shared_ptr<FrameQueue>& pQueue, Frame* pFrame) noexcept;

    boost::shared_ptr<FrameQueue> m_pQueue;
    Frame* m_pFrame = nullptr;
};

}  // namespace Zevrin
