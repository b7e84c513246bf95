#pragma once

#include <string>

#include <zevrin/ImageFormat.h>

#include "CameraVerb.h"
#include "Choices.h"

namespace ZevrinTool {

/// The standard's frame rates in frames per second, and their numbers.
extern const Choices kFrameRates;

/// The pixel formats that cameras of this standard send, such as "Mono8".
extern const Choices kPixelFormats;

constexpr unsigned int kMaxStandardFormat = 2;
constexpr unsigned int kMaxMode = 7;

/// What a mode is. Throws `ToolFailure`, with `what` before its reason.
Zevrin::VideoModeInfo ReadModeInfo(Zevrin::IidcCamera& camera, unsigned int format, unsigned int mode,
                                   const std::string& what = std::string());
Zevrin::Format7Info ReadRegionInfo(Zevrin::IidcCamera& camera, unsigned int mode,
                                   const std::string& what = std::string());

/// The format in which a camera sends its images.
Facts DescribeFormat(const Target& target);

}  // namespace ZevrinTool
