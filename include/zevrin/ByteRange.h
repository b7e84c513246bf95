#pragma once

#include <cstddef>

namespace Zevrin {

/// Some of the bytes of a buffer.
struct ByteRange {
    std::size_t offset = 0;  ///< of the first one
    std::size_t size = 0;    ///< bytes
};

}  // namespace Zevrin
