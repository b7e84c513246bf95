#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <zevrin/PixelBuffer.h>
#include <zevrin/SyncReport.h>

namespace ZevrinTool {

/// A small colour picture.
struct Thumbnail {
    unsigned int width = 0;
    unsigned int height = 0;
    std::vector<unsigned char> rgb;
};

/// Scales pixels of 8 or 16 bits down by averaging; raw mosaics become coloured on the way. Empty for other
/// formats.
Thumbnail MakeThumbnail(const Zevrin::PixelView& view, unsigned int width);

/// One picture of a run: a row for each of some sets, a column for each camera, with the offsets below the
/// images.
class ContactSheet {
  public:
    explicit ContactSheet(std::size_t cameras);

    /// Whether the image of this number, of so many of its camera, is to be on the sheet.
    static bool Wants(unsigned long long number, unsigned long long count);

    unsigned int GetThumbnailWidth() const { return m_width; }

    /// To be called from any thread.
    void Add(unsigned int serialNumber, unsigned long long frameId, Thumbnail thumbnail);

    /// Throws `ToolFailure`.
    void Save(const Zevrin::SyncReport& report, const std::vector<Zevrin::SyncRecord>& records,
              const std::string& path) const;

  private:
    const Thumbnail* Find(const Zevrin::SyncRecord& record) const;

    const unsigned int m_width;
    mutable std::mutex m_mutex;  // guards the map
    std::map<std::pair<unsigned int, unsigned long long>, Thumbnail> m_thumbnails;
};

}  // namespace ZevrinTool
