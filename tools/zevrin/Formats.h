#pragma once

#include <optional>
#include <string>

#include <zevrin/ImageFormat.h>

#include "CameraVerb.h"
#include "Choices.h"

namespace ZevrinTool {

/// The standard's frame rates in frames per second, and their numbers.
extern const Choices kFrameRates;

/// The pixel formats that cameras of this standard send, such as "Mono8".
extern const Choices kPixelFormats;

/// The pixel formats that the library converts to.
const Choices& ConvertedFormats();

/// Whether pixels of a format can be written to files of a suffix such as ".png". Nothing is written.
/// @param target  what they are converted to before; none: they stay
/// Errors: ERR_INVALID_PARAMETER, ERR_NOT_SUPPORTED, with the reason.
Zevrin::Error TryToSave(Zevrin::PixelFormat format, const std::optional<Zevrin::PixelFormat>& target,
                        const std::string& suffix);

/// The format of the pixels that a camera will send; none when it does not tell.
std::optional<Zevrin::PixelFormat> ReadPixelFormat(Zevrin::IidcCamera& camera);

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
