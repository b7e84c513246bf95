#pragma once

#include <cstddef>
#include <vector>

#include "zevrin/Error.h"
#include "zevrin/PixelBuffer.h"

namespace Zevrin {

constexpr bool kHostIsBigEndian = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;

/// How a sample lies in memory.
struct SampleForm {
    unsigned int bits;  ///< significant ones
    bool isBigEndian;
};

/// From the bytes of a row to samples of 16 bits in full range, one or three (red, green, blue) a pixel, and
/// back. A row that ends within a group of pixels has all of the group's bytes that `RowLayout` says.
using DecodeRow = void (*)(const unsigned char* in, std::size_t pixels, SampleForm form, unsigned short* out);
using EncodeRow = void (*)(const unsigned short* in, std::size_t pixels, SampleForm form, unsigned char* out);

/// How the pixels of a format lie in a row.
struct RowLayout {
    PixelFormat format;
    unsigned int pixelsPerGroup;  ///< pixels that share bytes
    unsigned int bytesPerGroup;
    unsigned int bytesOfPart;  ///< of a group that the row does not fill
    unsigned int channels;     ///< 1 or 3
    unsigned int bits;         ///< of a sample
    DecodeRow pDecode;
    EncodeRow pEncode;

    std::size_t RowSize(std::size_t pixels) const {
        return pixels / pixelsPerGroup * bytesPerGroup + (pixels % pixelsPerGroup != 0 ? bytesOfPart : 0);
    }
};

/// Null for a format that nothing is known of.
const RowLayout* FindRowLayout(PixelFormat format);

/// Whether the rows that a view announces lie within the bytes that it has.
/// Errors: ERR_INVALID_PARAMETER, ERR_NOT_SUPPORTED (the pixel format).
Error CheckView(const PixelView& view);

/// Gives the buffer memory for pixels of its size and format.
/// Errors: ERR_NOT_SUPPORTED (the pixel format), ERR_OUT_OF_MEMORY.
Error MakeRoom(PixelBuffer* pBuffer);

/// Reads the rows of a view that `CheckView` found good.
class RowReader {
  public:
    /// Throws std::bad_alloc.
    explicit RowReader(const PixelView& view);

    const RowLayout& GetLayout() const { return m_layout; }

    void Read(unsigned int row, unsigned short* out);

  private:
    const PixelView& m_view;
    const RowLayout& m_layout;
    const SampleForm m_form;
    std::vector<unsigned short> m_groups;  // of rows that begin within a group
};

}  // namespace Zevrin
