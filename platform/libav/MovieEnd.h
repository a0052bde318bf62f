#pragma once

#include "media/MediaTime.h"
#include "platform/libav/Handles.h"

#include <string>

namespace fw::libav {

/// Where the longest video or sound stream ends, as time since the start of the presentation. It
/// is never before the end of the last frame. A container that does not say is read through once.
MediaTime movieEnd(const std::string& path, const AVFormatContext& format);

} // namespace fw::libav
