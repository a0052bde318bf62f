#pragma once

#include "platform/libav/Handles.h"

namespace fw::libav {

/// Whether the file ends in the middle of what its container holds, told from the bytes at its end.
/// Only for containers of bare frames, YUV4MPEG and DV, which state no length and whose readers
/// take a cut frame for none; false for others. Keeps the place where the file is read.
bool endsInMidFrame(const AVFormatContext& format);

} // namespace fw::libav
