#pragma once

#include <arv.h>

/// Fills a frame with the picture that the help text describes. An ArvFakeCameraFillPattern.
/// @param pData  the ArvFakeCamera
void FillTestPicture(ArvBuffer* pBuffer, void* pData, guint32 exposureTimeUs, guint32 gain,
                     ArvPixelFormat pixelFormat);
