#pragma once

#include "base/Error.h"
#include "base/Result.h"
#include "platform/libav/ContainerSource.h"
#include "platform/libav/Handles.h"

#include <optional>

namespace fw::libav {

/// One stream of a container of its own, the others left unread, and a decoder for it.
struct StreamDecoder {
    FormatHandle format;
    AVStream* stream = nullptr;
    CodecHandle codec;
};

/// The decoder is not started yet.
Result<StreamDecoder> openStream(ContainerSource& source, int streamIndex, int threads);

/// Says why the decoder cannot start; nothing when it has.
std::optional<Error> startDecoder(AVCodecContext& codec);

/// The stream's next packet that holds something; a code below 0 when there is none. Passes over
/// damage, of which the first error is kept.
int readPacket(AVFormatContext& format, const AVStream& stream, AVPacket& packet,
               std::optional<Error>& firstError);

/// Says why reading stopped, when it was not at the end of a whole file.
std::optional<Error> errorAtEnd(const AVFormatContext& format, int readResult);

/// Keeps an error unless there is one already.
void keepFirst(std::optional<Error>& firstError, const Error& error);

/// Damaged data in a row that is passed over before the file is given up as unreadable.
inline constexpr int kMostErrorsInARow = 4096;

} // namespace fw::libav
