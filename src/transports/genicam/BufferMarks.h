#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "zevrin/ByteRange.h"

namespace Zevrin {

/// Tells which bytes of a buffer were never written, since Aravis keeps to itself which packets of a frame
/// arrived: the buffer is filled with a pattern beforehand, and what still holds it is missing.
///
/// The pattern is drawn anew for each object, so that no camera can send it.
class BufferMarks {
  public:
    BufferMarks();

    void Fill(unsigned char* pData, std::size_t size) const;

    /// The parts that still hold the pattern, exact to four bytes; zero afterwards. Packets carry at least
    /// 16 bytes; of shorter ones at the end, those of less than four are not noticed.
    std::vector<ByteRange> FindAndClear(unsigned char* pData, std::size_t size) const;

  private:
    std::array<std::uint32_t, 4> m_pattern;
};

}  // namespace Zevrin
