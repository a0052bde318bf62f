#pragma once

#include "media/AssetReader.h"
#include "platform/libav/AudioConverter.h"
#include "platform/libav/AudioDecoder.h"
#include "platform/libav/StreamTiming.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace fw::libav {

/// Reads the sound of one stream as interleaved 16-bit samples, each decoded piece in a buffer of
/// its own. It counts samples: the first has its stated time, the others follow it as long as their
/// stated times, within one tick of the container's clock, say the same.
class AudioReader {
public:
    /// The samples whose time lies in [start, end). What lies before the start is decoded, too.
    static Result<std::unique_ptr<AudioReader>> open(ContainerSource& source, int streamIndex,
                                                     int threads, const MediaTime& start,
                                                     const MediaTime& end);

    /// The next samples, without a description; nothing at the end of the range or the stream.
    /// Throws PlatformException for sound that cannot be converted.
    std::optional<SampleBuffer> next();

    /// The first damage met; at the end of the stream, that it ends clearly before its stated end.
    const std::optional<Error>& firstError() const { return firstError_; }

private:
    AudioReader(std::unique_ptr<AudioDecoder> decoder, const MediaTime& start,
                const MediaTime& end);

    SampleBuffer decodedNext();
    std::int64_t framesIn(std::size_t bytes) const;
    void keepWanted(SampleBuffer& buffer, std::int64_t position) const;
    std::int64_t positionOf(const AVFrame& frame) const;
    void noteEnd();

    std::unique_ptr<AudioDecoder> decoder_;
    StreamTiming timing_;
    int sampleRate_;
    AudioConverter converter_;
    // Counted in samples since the start of the presentation.
    std::int64_t first_;
    std::int64_t end_;      ///< Of the range.
    std::int64_t shownEnd_; ///< Of what the movie shows.
    std::optional<std::int64_t> reached_;
    bool hasEnded_ = false;
    std::optional<Error> firstError_;
};

} // namespace fw::libav
