#pragma once

#include <map>
#include <string>
#include <vector>

namespace Zevrin {

/// What a file holds, as readers see it that know nothing of the writers.
struct ReadPicture {
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int channels = 0;
    unsigned int bits = 0;  ///< of a sample
    std::vector<unsigned int> samples;
    std::map<std::string, std::string> facts;  ///< found in the file or beside it
};

/// Fails the test that calls it when the file is none of its kind.
ReadPicture ReadPictureFile(const std::string& path);

}  // namespace Zevrin
