#include "ContactSheet.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include <zevrin/ImageFile.h>

#include "Canvas.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr unsigned long long kRows = 5;
constexpr unsigned int kSheetWidth = 880;
constexpr unsigned int kMinWidth = 48;
constexpr unsigned int kMaxWidth = 208;
constexpr unsigned int kGap = 8;
constexpr unsigned int kMargin = 56;  // for the numbers of the sets
constexpr unsigned int kTextLine = kTextHeight + 8;

constexpr Color kPaper = {250, 250, 248};
constexpr Color kInk = {40, 44, 50};
constexpr Color kFaint = {125, 132, 140};
constexpr Color kMissing = {228, 229, 230};
constexpr Color kBad = {179, 38, 30};

/// How a pixel of a format lies in memory, as far as thumbnails are made of it.
struct Layout {
    Zevrin::PixelFormat format;
    unsigned int samples;
    unsigned int bytes;  ///< of a sample
    bool isBgr;
};

constexpr Layout kLayouts[] = {
    {Zevrin::PIXEL_FORMAT_MONO8, 1, 1, false},  {Zevrin::PIXEL_FORMAT_RAW8, 1, 1, false},
    {Zevrin::PIXEL_FORMAT_MONO16, 1, 2, false}, {Zevrin::PIXEL_FORMAT_RAW16, 1, 2, false},
    {Zevrin::PIXEL_FORMAT_RGB8, 3, 1, false},   {Zevrin::PIXEL_FORMAT_BGR8, 3, 1, true},
};

/// The channel of each pixel of a 2 x 2 cell: 0 red, 1 green, 2 blue.
constexpr unsigned int kMosaics[][4] = {{1, 1, 1, 1}, {0, 1, 1, 2}, {1, 0, 2, 1}, {1, 2, 0, 1}, {2, 1, 1, 0}};

class Shrinker {
  public:
    Shrinker(const Zevrin::PixelView& view, const Layout& layout) : m_view(view), m_layout(layout) {
        m_isMosaic = layout.samples == 1 && view.bayerTileFormat > Zevrin::BAYER_NONE &&
                     view.bayerTileFormat <= Zevrin::BAYER_BGGR;
    }

    /// The mean of the pixels from (left, top) up to (right, bottom), which is at least a cell of a mosaic.
    void Average(unsigned int left, unsigned int top, unsigned int right, unsigned int bottom,
                 unsigned char* pRgb) const {
        std::uint64_t sums[3] = {};
        std::uint64_t counts[3] = {};
        for (unsigned int y = top; y < bottom; ++y) {
            for (unsigned int x = left; x < right; ++x) {
                for (unsigned int sample = 0; sample < m_layout.samples; ++sample) {
                    const unsigned int channel = ChannelOf(x, y, sample);
                    sums[channel] += At(x, y, sample);
                    ++counts[channel];
                }
            }
        }
        for (unsigned int channel = 0; channel < 3; ++channel) {
            const unsigned int from = counts[channel] > 0 ? channel : 1;
            pRgb[channel] = static_cast<unsigned char>(sums[from] / std::max<std::uint64_t>(counts[from], 1));
        }
    }

  private:
    unsigned int ChannelOf(unsigned int x, unsigned int y, unsigned int sample) const {
        if (m_layout.samples == 3) {
            return m_layout.isBgr ? 2 - sample : sample;
        }
        return m_isMosaic ? kMosaics[m_view.bayerTileFormat][y % 2 * 2 + x % 2] : 1;
    }

    /// The eight bits of a sample that matter.
    unsigned int At(unsigned int x, unsigned int y, unsigned int sample) const {
        const std::size_t place = (std::size_t{x} * m_layout.samples + sample) * m_layout.bytes;
        const std::size_t high = m_layout.bytes == 2 && !m_view.isBigEndian ? 1 : 0;
        return m_view.data[std::size_t{y} * m_view.stride + place + high];
    }

    const Zevrin::PixelView m_view;
    const Layout m_layout;
    bool m_isMosaic;
};

bool IsWhole(const Zevrin::PixelView& view, const Layout& layout) {
    const std::size_t row = std::size_t{view.width} * layout.samples * layout.bytes;
    return view.width >= 2 && view.height >= 2 && view.stride >= row && view.size >= row &&
           (view.size - row) / view.stride >= view.height - 1;
}

std::string OffsetText(const Zevrin::SyncMember& member) {
    char text[32] = "-";
    if (member.hasOffset) {
        std::snprintf(text, sizeof text, "%+.1f us",
                      static_cast<double>(member.offsetTicks) / Zevrin::kSyncTicksPerMicrosecond);
    }
    return text;
}

}  // namespace

Thumbnail MakeThumbnail(const Zevrin::PixelView& view, unsigned int width) {
    Thumbnail thumbnail;
    const auto pLayout = std::find_if(std::begin(kLayouts), std::end(kLayouts),
                                      [&](const Layout& row) { return row.format == view.pixelFormat; });
    if (pLayout == std::end(kLayouts) || !IsWhole(view, *pLayout)) {
        return thumbnail;
    }
    thumbnail.width = std::min(width, view.width / 2);
    thumbnail.height = std::clamp<unsigned int>(
        static_cast<unsigned int>(std::uint64_t{view.height} * thumbnail.width / view.width), 1,
        std::min(2 * width, view.height / 2));
    thumbnail.rgb.resize(std::size_t{3} * thumbnail.width * thumbnail.height);
    const Shrinker shrinker(view, *pLayout);
    const auto scale = [](unsigned int at, unsigned int from, unsigned int to) {
        return static_cast<unsigned int>(std::uint64_t{at} * to / from);
    };
    for (unsigned int y = 0; y < thumbnail.height; ++y) {
        for (unsigned int x = 0; x < thumbnail.width; ++x) {
            shrinker.Average(scale(x, thumbnail.width, view.width), scale(y, thumbnail.height, view.height),
                             scale(x + 1, thumbnail.width, view.width),
                             scale(y + 1, thumbnail.height, view.height),
                             &thumbnail.rgb[3 * (std::size_t{y} * thumbnail.width + x)]);
        }
    }
    return thumbnail;
}

ContactSheet::ContactSheet(std::size_t cameras)
    : m_width(std::clamp(kSheetWidth / static_cast<unsigned int>(std::max<std::size_t>(cameras, 1)),
                         kMinWidth, kMaxWidth)) {}

bool ContactSheet::Wants(unsigned long long number, unsigned long long count) {
    for (unsigned long long row = 0; row < kRows; ++row) {
        if (number == row * (count - 1) / (kRows - 1)) {
            return true;
        }
    }
    return false;
}

void ContactSheet::Add(unsigned int serialNumber, unsigned long long frameId, Thumbnail thumbnail) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_thumbnails[{serialNumber, frameId}] = std::move(thumbnail);
}

const Thumbnail* ContactSheet::Find(const Zevrin::SyncRecord& record) const {
    const auto found = m_thumbnails.find({record.serialNumber, record.frameId});
    return found == m_thumbnails.end() || found->second.rgb.empty() ? nullptr : &found->second;
}

void ContactSheet::Save(const Zevrin::SyncReport& report, const std::vector<Zevrin::SyncRecord>& records,
                        const std::string& path) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::size_t> rows;
    unsigned int height = 0;
    for (std::size_t set = 0; set < report.sets.size(); ++set) {
        const Zevrin::SyncMember& first = report.sets[set].members.front();
        if (first.record != Zevrin::SyncMember::kNone && Find(records[first.record]) != nullptr) {
            rows.push_back(set);
        }
    }
    for (const auto& entry : m_thumbnails) {
        height = std::max(height, entry.second.height);
    }
    const unsigned int columnStep = m_width + kGap;
    const unsigned int rowStep = height + kTextLine + kGap;
    Canvas canvas(kMargin + static_cast<unsigned int>(report.cameras.size()) * columnStep,
                  kTextLine + kGap + static_cast<unsigned int>(rows.size()) * rowStep, kPaper);
    for (unsigned int camera = 0; camera < report.cameras.size(); ++camera) {
        canvas.Write(kMargin + camera * columnStep, kGap,
                     "#" + std::to_string(report.cameras[camera].serialNumber), kInk);
    }
    for (unsigned int row = 0; row < rows.size(); ++row) {
        const unsigned int top = kTextLine + kGap + row * rowStep;
        canvas.Write(kGap, top, std::to_string(rows[row]), kFaint);
        for (unsigned int camera = 0; camera < report.cameras.size(); ++camera) {
            const Zevrin::SyncMember& member = report.sets[rows[row]].members[camera];
            const unsigned int left = kMargin + camera * columnStep;
            const bool isThere = member.record != Zevrin::SyncMember::kNone;
            const Thumbnail* const pThumbnail = isThere ? Find(records[member.record]) : nullptr;
            if (pThumbnail != nullptr) {
                canvas.Draw(left, top, pThumbnail->width, pThumbnail->height, pThumbnail->rgb);
            } else {
                canvas.Fill(left, top, m_width, height, kMissing);
            }
            const bool isFar = member.offsetCycles > static_cast<long long>(Zevrin::kSyncLimitCycles) ||
                               member.offsetCycles < -static_cast<long long>(Zevrin::kSyncLimitCycles);
            canvas.Write(left, top + height + 4, OffsetText(member), isFar ? kBad : kInk);
        }
    }
    Check(Zevrin::SavePixels(canvas.View(), path));
}

}  // namespace ZevrinTool
