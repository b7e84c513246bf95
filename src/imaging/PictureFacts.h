#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "zevrin/ImageFile.h"

namespace Zevrin {

/// What is known of a picture, as a flat object: the one source of every file's metadata.
using PictureFacts = nlohmann::ordered_json;

PictureFacts DescribePicture(const PixelView& pixels, const ImageMetadata& metadata);

/// The facts as names and texts.
std::vector<std::pair<std::string, std::string>> ListFacts(const PictureFacts& facts);

}  // namespace Zevrin
