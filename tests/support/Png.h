#pragma once

#include <fstream>
#include <iterator>
#include <string>

namespace Zevrin {

/// Whether a file begins and ends as a PNG file does; one that was cut short lacks its end.
inline bool IsWholePng(const std::string& path) {
    static const std::string kBegin = "\x89PNG\r\n\x1a\n";
    static const std::string kEnd = "IEND\xae\x42\x60\x82";
    std::ifstream stream(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    return bytes.size() > kBegin.size() + kEnd.size() && bytes.compare(0, kBegin.size(), kBegin) == 0 &&
           bytes.compare(bytes.size() - kEnd.size(), kEnd.size(), kEnd) == 0;
}

}  // namespace Zevrin
