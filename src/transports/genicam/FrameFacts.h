#pragma once

#include <arv.h>

#include "FrameQueue.h"
#include "HardwareInterface.h"

namespace Zevrin {

/// Makes a buffer forget the frame that was in it. Number, time and shape come with a frame's leader; when
/// that is lost, Aravis leaves those of the former frame.
void ForgetLeader(ArvBuffer* pBuffer);
bool HasLeader(ArvBuffer* pBuffer);

/// What a buffer that Aravis has done with holds, save its number.
/// @param format  what the stream was set up for: the shape of a frame whose own description is lost
FrameInfo ReadFrameInfo(ArvBuffer* pBuffer, const StreamFormat& format);

}  // namespace Zevrin
