#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace Zevrin {

/// A fenced block of a Markdown file: "```language note", its lines, "```".
struct FencedBlock {
    std::string language;
    std::string note;  ///< what follows the language; often nothing
    std::string text;
};

/// The fenced blocks of a file, in their order.
inline std::vector<FencedBlock> ReadFencedBlocks(const std::string& path) {
    static const std::string kFence = "```";
    std::ifstream stream(path);
    std::vector<FencedBlock> blocks;
    bool isInside = false;
    for (std::string line; std::getline(stream, line);) {
        if (line.compare(0, kFence.size(), kFence) == 0) {
            if (!isInside) {
                const std::size_t end = line.find(' ');
                blocks.push_back({line.substr(kFence.size(), end - kFence.size()),
                                  end == std::string::npos ? "" : line.substr(end + 1), ""});
            }
            isInside = !isInside;
        } else if (isInside) {
            blocks.back().text += line + "\n";
        }
    }
    return blocks;
}

}  // namespace Zevrin
