#include "PixelRows.h"

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>

#include "Failure.h"
#include "Image.h"
#include "PixelKernels.h"

namespace Zevrin {

namespace {

constexpr RowLayout kLayouts[] = {
    {PIXEL_FORMAT_MONO8, 1, 1, 0, 1, 8, DecodeBytes<1>, EncodeBytes<1>},
    {PIXEL_FORMAT_RAW8, 1, 1, 0, 1, 8, DecodeBytes<1>, EncodeBytes<1>},
    {PIXEL_FORMAT_RGB8, 1, 3, 0, 3, 8, DecodeBytes<3>, EncodeBytes<3>},
    {PIXEL_FORMAT_BGR8, 1, 3, 0, 3, 8, DecodeBgr, EncodeBgr},
    {PIXEL_FORMAT_MONO10, 1, 2, 0, 1, 10, DecodeWords<1>, EncodeWords<1>},
    {PIXEL_FORMAT_MONO12, 1, 2, 0, 1, 12, DecodeWords<1>, EncodeWords<1>},
    {PIXEL_FORMAT_MONO16, 1, 2, 0, 1, 16, DecodeWords<1>, EncodeWords<1>},
    {PIXEL_FORMAT_RAW16, 1, 2, 0, 1, 16, DecodeWords<1>, EncodeWords<1>},
    {PIXEL_FORMAT_RGB16, 1, 6, 0, 3, 16, DecodeWords<3>, EncodeWords<3>},
    {PIXEL_FORMAT_MONO10_PACKED, 2, 3, 2, 1, 10, DecodePacked<10>, EncodePacked<10>},
    {PIXEL_FORMAT_MONO12_PACKED, 2, 3, 2, 1, 12, DecodePacked<12>, EncodePacked<12>},
    {PIXEL_FORMAT_YUV411, 4, 6, 6, 3, 8, DecodeYuv<Yuv411>, EncodeYuv<Yuv411>},
    {PIXEL_FORMAT_YUV422, 2, 4, 4, 3, 8, DecodeYuv<Yuv422>, EncodeYuv<Yuv422>},
    {PIXEL_FORMAT_YUV444, 1, 3, 0, 3, 8, DecodeYuv<Yuv444>, EncodeYuv<Yuv444>},
};

constexpr unsigned int kMinBits = 8;

/// Whether rows of `rowSize` bytes that begin `stride` bytes apart lie within `size` bytes. Divided instead
/// of multiplied: the numbers come from outside.
bool AreRowsWithin(std::size_t size, std::size_t rowSize, std::size_t stride, std::size_t height) {
    return rowSize != 0 && height != 0 && stride >= rowSize && size >= rowSize &&
           (size - rowSize) / stride >= height - 1;
}

}  // namespace

const RowLayout* FindRowLayout(PixelFormat format) {
    const auto* const pEnd = std::end(kLayouts);
    const auto* const pFound = std::find_if(
        std::begin(kLayouts), pEnd, [format](const RowLayout& layout) { return layout.format == format; });
    return pFound != pEnd ? pFound : nullptr;
}

PixelView PixelBuffer::View() const {
    PixelView view;
    view.data = bytes.data();
    view.size = bytes.size();
    view.width = width;
    view.height = height;
    view.stride = stride;
    view.pixelFormat = pixelFormat;
    view.bayerTileFormat = bayerTileFormat;
    view.isBigEndian = isBigEndian;
    return view;
}

PixelView ViewOf(const Image& image) {
    PixelView view;
    view.data = image.GetData();
    view.size = image.GetDataSize();
    view.width = image.GetWidth();
    view.height = image.GetHeight();
    view.stride = image.GetStride();
    view.pixelFormat = image.GetPixelFormat();
    view.bayerTileFormat = image.GetBayerTileFormat();
    view.isBigEndian = image.IsBigEndian();
    const RowLayout* const pLayout = FindRowLayout(view.pixelFormat);
    if (pLayout != nullptr && image.GetSignificantBits() < pLayout->bits) {
        view.significantBits = image.GetSignificantBits();
    }
    if (pLayout != nullptr && view.width % pLayout->pixelsPerGroup != 0 &&
        !AreRowsWithin(view.size, pLayout->RowSize(view.width), view.stride, view.height)) {
        view.stride = 0;
    }
    return view;
}

Error CheckView(const PixelView& view) {
    const RowLayout* const pLayout = FindRowLayout(view.pixelFormat);
    if (view.data == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "There are no pixels.");
    }
    if (pLayout == nullptr) {
        return Failure(ERR_NOT_SUPPORTED, "The pixel format %s cannot be converted.",
                       GetPixelFormatName(view.pixelFormat));
    }
    if (view.significantBits != 0 &&
        (view.significantBits < kMinBits || view.significantBits > pLayout->bits)) {
        return Failure(ERR_INVALID_PARAMETER, "%u significant bits are none of %u to %u, those of %s.",
                       view.significantBits, kMinBits, pLayout->bits, GetPixelFormatName(view.pixelFormat));
    }
    const std::size_t width = view.width;
    const std::size_t height = view.height;
    const std::size_t rowSize = pLayout->RowSize(width);
    // Without a stride all pixels are one row; their number has to be one that can be multiplied.
    const bool isCountable = height != 0 && width <= view.size / height;
    const bool isGood = view.stride != 0
                            ? AreRowsWithin(view.size, rowSize, view.stride, height)
                            : width != 0 && isCountable && pLayout->RowSize(width * height) <= view.size;
    if (!isGood) {
        return Failure(ERR_INVALID_PARAMETER,
                       "The image holds %zu bytes, which are not %zu rows of %zu bytes, %zu bytes apart.",
                       view.size, height, rowSize, view.stride);
    }
    return Error();
}

Error MakeRoom(PixelBuffer* pBuffer) {
    const RowLayout* const pLayout = FindRowLayout(pBuffer->pixelFormat);
    if (pLayout == nullptr) {
        return Failure(ERR_NOT_SUPPORTED, "Pixels cannot be converted to %s.",
                       GetPixelFormatName(pBuffer->pixelFormat));
    }
    pBuffer->stride = pLayout->RowSize(pBuffer->width);
    try {
        if (pBuffer->height > std::numeric_limits<std::size_t>::max() / pBuffer->stride) {
            throw std::length_error("image");
        }
        pBuffer->bytes.resize(pBuffer->stride * pBuffer->height);
    } catch (const std::exception&) {
        return Failure(ERR_OUT_OF_MEMORY, "There is no memory for %u rows of %zu bytes.", pBuffer->height,
                       pBuffer->stride);
    }
    return Error();
}

RowReader::RowReader(const PixelView& view)
    : m_view(view),
      m_layout(*FindRowLayout(view.pixelFormat)),
      m_form{view.significantBits != 0 ? view.significantBits : m_layout.bits, view.isBigEndian} {
    if (view.stride == 0 && view.width % m_layout.pixelsPerGroup != 0) {
        m_groups.resize((view.width + 2 * std::size_t{m_layout.pixelsPerGroup}) * m_layout.channels);
    }
}

void RowReader::Read(unsigned int row, unsigned short* out) {
    if (m_groups.empty()) {
        const std::size_t stride = m_view.stride != 0 ? m_view.stride : m_layout.RowSize(m_view.width);
        m_layout.pDecode(m_view.data + row * stride, m_view.width, m_form, out);
        return;
    }
    const std::size_t begin = std::size_t{row} * m_view.width;
    const std::size_t before = begin % m_layout.pixelsPerGroup;
    const unsigned char* const in = m_view.data + begin / m_layout.pixelsPerGroup * m_layout.bytesPerGroup;
    m_layout.pDecode(in, before + m_view.width, m_form, m_groups.data());
    const auto first = m_groups.begin() + static_cast<std::ptrdiff_t>(before * m_layout.channels);
    std::copy_n(first, std::size_t{m_view.width} * m_layout.channels, out);
}

}  // namespace Zevrin
