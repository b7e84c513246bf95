#pragma once

#include <arv.h>

/// Keeps requests for addresses beyond the camera's memory away from it: Aravis' fake camera follows them and
/// crashes. The kernel drops them, so whoever asks gets no answer, which is a time-out.
/// Throws std::runtime_error when the camera's sockets cannot be found or do not take a filter.
void GuardAddresses(ArvFakeCamera* pCamera, unsigned short controlPort);
