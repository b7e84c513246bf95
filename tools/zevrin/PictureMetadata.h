#pragma once

#include <zevrin/IidcCamera.h>
#include <zevrin/ImageFile.h>

namespace ZevrinTool {

/// What is known of all pictures of a camera before it streams: its serial number, and exposure and gain
/// where it tells them in units and leaves them alone. What it does not tell is left out.
Zevrin::ImageMetadata ReadMetadata(Zevrin::IidcCamera& camera, unsigned int serialNumber);

}  // namespace ZevrinTool
