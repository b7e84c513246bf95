#pragma once

namespace Zevrin {

class Image;

/// Called with each image as it arrives, on the stream's own thread. The image is the callback's for the
/// length of the call; its buffer goes back to the stream afterwards.
typedef void (*ImageCallback)(Image* pImage, const void* pCallbackData);

}  // namespace Zevrin
