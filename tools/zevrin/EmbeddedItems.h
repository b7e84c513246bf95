#pragma once

#include <string>

#include <zevrin/EmbeddedImageInfo.h>

#include "Choices.h"

namespace ZevrinTool {

/// What the further items are is the camera's to say: they go by their numbers.
inline const Choices kEmbeddedItems = [] {
    Choices names = {{"timestamp", 0}};
    for (unsigned int item = 1; item < Zevrin::EmbeddedImageInfo::kItemCount; ++item) {
        names.push_back({std::to_string(item), item});
    }
    return names;
}();

inline Zevrin::EmbeddedImageItem& EmbeddedItem(Zevrin::EmbeddedImageInfo* pInfo, unsigned int item) {
    return item == 0 ? pInfo->timestamp : pInfo->further[item - 1];
}

}  // namespace ZevrinTool
