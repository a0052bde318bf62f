#pragma once

#include "media/MediaTime.h"
#include "platform/libav/Handles.h"

#include <string>

namespace fw::libav {

/// Where the longest video or sound stream ends, as time since the start of the presentation. It
/// is never before the end of the last frame. A container that does not say is read through once.
MediaTime movieEnd(const std::string& path, const AVFormatContext& format);

/// Where the last packet lies that the index of a QuickTime movie shows, one frame of a video
/// stream or one tick of a sound stream later; zero for other containers. Where an edit list shows
/// parts of the media again this is after the stream's own stated end.
MediaTime endOfIndex(const AVFormatContext& format, const AVStream& stream);

} // namespace fw::libav
