#include "BufferMarks.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace Zevrin {

namespace {

constexpr std::size_t kWord = sizeof(std::uint32_t);

}  // namespace

BufferMarks::BufferMarks() {
    std::random_device source;
    for (std::uint32_t& word : m_pattern) {
        word = source();
    }
}

void BufferMarks::Fill(unsigned char* pData, std::size_t size) const {
    for (std::size_t offset = 0; offset < size; offset += sizeof m_pattern) {
        std::memcpy(pData + offset, m_pattern.data(), std::min(sizeof m_pattern, size - offset));
    }
}

std::vector<ByteRange> BufferMarks::FindAndClear(unsigned char* pData, std::size_t size) const {
    std::vector<ByteRange> missing;
    const auto isUntouched = [&](std::size_t offset) {
        return std::memcmp(pData + offset, &m_pattern[offset / kWord % m_pattern.size()],
                           std::min(kWord, size - offset)) == 0;
    };
    for (std::size_t offset = 0; offset < size; offset += kWord) {
        std::size_t end = offset;
        while (end < size && isUntouched(end)) {
            end = std::min(end + kWord, size);
        }
        // A word alone may be like the pattern by chance; at the end it is a packet, which may be of one
        // byte.
        if (end - offset >= sizeof m_pattern || end == size) {
            std::memset(pData + offset, 0, end - offset);
            missing.push_back({offset, end - offset});
        }
        offset = std::max(offset, end / kWord * kWord);
    }
    return missing;
}

}  // namespace Zevrin
