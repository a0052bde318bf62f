#pragma once

#include "base/Result.h"
#include "platform/libav/Handles.h"

#include <string>

namespace fw::libav {

/// Opens a file as one of the known containers and finds out about its streams. Nothing but the
/// file itself is ever opened: no reference to another file, no other protocol.
Result<FormatHandle> openContainer(const std::string& path);

/// Whether the demuxer is one of the given family ("mov", "matroska", ...).
bool isContainer(const AVFormatContext& format, const char* name);

/// What to take from every timestamp so that zero is the start of the presentation, in units of
/// the stream's time base.
std::int64_t startOffset(const AVFormatContext& format, const AVStream& stream);

/// Whether a stream is moving pictures: not a cover picture.
bool isMovingPicture(const AVStream& stream);

} // namespace fw::libav
