#pragma once

#include "CameraVerb.h"
#include "Choices.h"

namespace ZevrinTool {

/// The standard's frame rates in frames per second, and their numbers.
extern const Choices kFrameRates;

/// The pixel formats that cameras of this standard send, such as "Mono8".
extern const Choices kPixelFormats;

/// The format in which a camera sends its images.
Facts DescribeFormat(const Target& target);

}  // namespace ZevrinTool
