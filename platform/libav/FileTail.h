#pragma once

#include "platform/libav/Handles.h"

namespace fw::libav {

/// Whether the file ends in the middle of what its container holds, told from the bytes at its end.
/// Only for YUV4MPEG, DV and Ogg, which state no length and whose demuxers take a frame or a page
/// that is cut for none; false for others. Keeps the place where the file is read.
bool endsInMidData(const AVFormatContext& format);

} // namespace fw::libav
