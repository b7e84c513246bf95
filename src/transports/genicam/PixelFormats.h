#pragma once

#include <arv.h>

#include "zevrin/PixelFormat.h"

namespace Zevrin {

/// What a GenICam pixel format is here; unknown when there is none like it.
struct PixelLayout {
    PixelFormat format = PIXEL_FORMAT_UNKNOWN;
    BayerTileFormat bayerFormat = BAYER_NONE;
    unsigned int depth = 0;  ///< bits of a sample that mean something
};

PixelLayout GetPixelLayout(ArvPixelFormat pixelFormat);

bool IsColor(ArvPixelFormat pixelFormat);

}  // namespace Zevrin
