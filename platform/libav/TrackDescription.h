#pragma once

#include "media/Track.h"
#include "platform/libav/Handles.h"
#include "platform/libav/MovSampleEntries.h"

#include <vector>

namespace fw::libav {

/// What a stream says about itself, as a track; the track's id is the stream's index.
Track trackOfStream(const AVFormatContext& format, const AVStream& stream);

/// Whether a stream's data, or the sample entry of its track, is marked as encrypted.
bool isEncrypted(const AVStream& stream, const std::vector<MovSampleEntry>& entries);

} // namespace fw::libav
