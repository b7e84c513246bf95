#include "zevrin/ImageConversion.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>
#include <vector>

#include "Demosaic.h"
#include "Failure.h"
#include "PixelKernels.h"
#include "PixelRows.h"

namespace Zevrin {

namespace {

using Samples = std::vector<unsigned short>;

bool IsRaw(PixelFormat format) {
    return format == PIXEL_FORMAT_RAW8 || format == PIXEL_FORMAT_RAW16;
}

/// Which of red, green and blue lies at a pixel.
unsigned int FilterAt(BayerTileFormat tile, std::size_t column, unsigned int row) {
    const bool isRedColumn = (column % 2 != 0) == (tile == BAYER_GRBG || tile == BAYER_BGGR);
    const bool isRedRow = (row % 2 != 0) == (tile == BAYER_GBRG || tile == BAYER_BGGR);
    return isRedColumn != isRedRow ? 1 : (isRedRow ? 0 : 2);
}

/// Brings the samples of a row from one to three a pixel, or from three to one; in place.
class ChannelChange {
  public:
    ChannelChange(const RowLayout& from, const RowLayout& to, BayerTileFormat tile)
        : m_from(from.channels), m_to(to.channels), m_tile(IsRaw(to.format) ? tile : BAYER_NONE) {}

    void Apply(unsigned int row, std::size_t width, unsigned short* samples) const {
        if (m_from == 3 && m_to == 1) {
            for (std::size_t column = 0; column < width; ++column) {
                const unsigned short* const rgb = samples + 3 * column;
                samples[column] = m_tile == BAYER_NONE ? LumaOf(rgb) : rgb[FilterAt(m_tile, column, row)];
            }
        } else if (m_from == 1 && m_to == 3) {
            for (std::size_t column = width; column-- > 0;) {
                std::fill_n(samples + 3 * column, 3, samples[column]);
            }
        }
    }

  private:
    const unsigned int m_from;
    const unsigned int m_to;
    const BayerTileFormat m_tile;
};

void ConvertRows(const PixelView& source, PixelBuffer* pResult) {
    RowReader reader(source);
    const RowLayout& layout = *FindRowLayout(pResult->pixelFormat);
    const ChannelChange change(reader.GetLayout(), layout, pResult->bayerTileFormat);
    const SampleForm form{layout.bits, pResult->isBigEndian};
    Samples samples(3 * std::size_t{source.width});
    for (unsigned int row = 0; row < source.height; ++row) {
        reader.Read(row, samples.data());
        change.Apply(row, source.width, samples.data());
        layout.pEncode(samples.data(), source.width, form, pResult->bytes.data() + row * pResult->stride);
    }
}

/// Rows that stay as they are.
void CopyRows(const PixelView& source, PixelBuffer* pResult) {
    for (std::size_t row = 0; row < source.height; ++row) {
        std::memcpy(pResult->bytes.data() + row * pResult->stride, source.data + row * source.stride,
                    pResult->stride);
    }
}

bool IsCopy(const PixelView& source, const PixelBuffer& result) {
    const RowLayout& layout = *FindRowLayout(source.pixelFormat);
    const bool hasByteOrder = layout.bits > 8 && layout.pixelsPerGroup == 1;
    return source.pixelFormat == result.pixelFormat && source.stride != 0 && source.significantBits == 0 &&
           (!hasByteOrder || source.isBigEndian == result.isBigEndian);
}

/// A buffer for a step on the way, of the view's size and in the host's byte order.
Error MakeStep(const PixelView& view, PixelFormat format, PixelBuffer* pStep) {
    pStep->width = view.width;
    pStep->height = view.height;
    pStep->pixelFormat = format;
    pStep->bayerTileFormat = view.bayerTileFormat;
    pStep->isBigEndian = kHostIsBigEndian;
    return MakeRoom(pStep);
}

Error DemosaicInto(const PixelView& mosaic, PixelBuffer* pColors) {
    MosaicWork work;
    work.width = mosaic.width;
    work.height = mosaic.height;
    work.bits = mosaic.pixelFormat == PIXEL_FORMAT_RAW8 ? 8 : 16;
    work.tile = mosaic.bayerTileFormat;
    work.mosaic = mosaic.data;
    work.mosaicStride = mosaic.stride;
    work.colors = pColors->bytes.data();
    work.colorStride = pColors->stride;
    work.isBgr = pColors->pixelFormat == PIXEL_FORMAT_BGR8;
    return Demosaic(work);
}

/// By way of a mosaic that OpenCV can read and a colour image that it can write, as far as source and result
/// are not such themselves.
Error ConvertMosaic(const PixelView& source, PixelBuffer* pResult) {
    const bool isByte = FindRowLayout(pResult->pixelFormat)->bits == 8;
    PixelView mosaic = source;
    PixelBuffer ownMosaic;
    if (!isByte || source.pixelFormat != PIXEL_FORMAT_RAW8 || source.stride == 0) {
        const Error error = MakeStep(source, isByte ? PIXEL_FORMAT_RAW8 : PIXEL_FORMAT_RAW16, &ownMosaic);
        if (error != ERR_OK) {
            return error;
        }
        ConvertRows(source, &ownMosaic);
        mosaic = ownMosaic.View();
    }
    if (pResult->pixelFormat == PIXEL_FORMAT_RGB8 || pResult->pixelFormat == PIXEL_FORMAT_BGR8) {
        return DemosaicInto(mosaic, pResult);
    }
    PixelBuffer colors;
    Error error = MakeStep(mosaic, isByte ? PIXEL_FORMAT_RGB8 : PIXEL_FORMAT_RGB16, &colors);
    if (error == ERR_OK) {
        error = DemosaicInto(mosaic, &colors);
    }
    if (error == ERR_OK) {
        ConvertRows(colors.View(), pResult);
    }
    return error;
}

/// Errors: ERR_INVALID_PARAMETER.
Error ChooseTile(const PixelView& source, const ConversionTarget& target, BayerTileFormat* pTile) {
    *pTile = BAYER_NONE;
    if (!IsRaw(target.pixelFormat)) {
        return Error();
    }
    const bool isRaw = IsRaw(source.pixelFormat);
    *pTile = isRaw ? source.bayerTileFormat : target.bayerTileFormat;
    if (isRaw && target.bayerTileFormat != BAYER_NONE && target.bayerTileFormat != *pTile) {
        return Failure(ERR_INVALID_PARAMETER,
                       "The colour filters of a raw mosaic cannot be put in another order.");
    }
    if (*pTile < BAYER_NONE || *pTile > BAYER_BGGR ||
        (*pTile == BAYER_NONE && FindRowLayout(source.pixelFormat)->channels == 3)) {
        return Failure(ERR_INVALID_PARAMETER, "%d is no order of colour filters for a raw mosaic.",
                       static_cast<int>(*pTile));
    }
    return Error();
}

bool IsWithin(const PixelBuffer& buffer, const unsigned char* data) {
    const std::less<const unsigned char*> isBefore;
    const unsigned char* const begin = buffer.bytes.data();
    return !buffer.bytes.empty() && !isBefore(data, begin) && isBefore(data, begin + buffer.bytes.size());
}

}  // namespace

Error ConvertPixels(const PixelView& source, const ConversionTarget& target, PixelBuffer* pResult) {
    if (pResult == nullptr || IsWithin(*pResult, source.data)) {
        return Failure(ERR_INVALID_PARAMETER, "There is no buffer for the result, or it is the source's.");
    }
    Error error = CheckView(source);
    if (error == ERR_OK) {
        error = ChooseTile(source, target, &pResult->bayerTileFormat);
    }
    if (error == ERR_OK) {
        pResult->width = source.width;
        pResult->height = source.height;
        pResult->pixelFormat = target.pixelFormat;
        pResult->isBigEndian = target.isBigEndian;
        error = MakeRoom(pResult);
    }
    if (error != ERR_OK) {
        return error;
    }
    try {
        if (IsRaw(source.pixelFormat) && !IsRaw(target.pixelFormat)) {
            return ConvertMosaic(source, pResult);
        }
        if (IsCopy(source, *pResult)) {
            CopyRows(source, pResult);
        } else {
            ConvertRows(source, pResult);
        }
    } catch (const std::bad_alloc&) {
        return Failure(ERR_OUT_OF_MEMORY, "There is no memory for the rows of a conversion.");
    }
    return Error();
}

Error ConvertImage(const Image& image, const ConversionTarget& target, PixelBuffer* pResult) {
    return ConvertPixels(ViewOf(image), target, pResult);
}

}  // namespace Zevrin
