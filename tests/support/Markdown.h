#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace Zevrin {

/// The fenced blocks of a language in a Markdown file, in their order.
inline std::vector<std::string> ReadFencedBlocks(const std::string& path, const std::string& language) {
    std::ifstream stream(path);
    std::vector<std::string> blocks;
    bool isInside = false;
    for (std::string line; std::getline(stream, line);) {
        if (!isInside && line == "```" + language) {
            isInside = true;
            blocks.emplace_back();
        } else if (isInside && line == "```") {
            isInside = false;
        } else if (isInside) {
            blocks.back() += line + "\n";
        }
    }
    return blocks;
}

}  // namespace Zevrin
