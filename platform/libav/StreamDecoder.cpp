#include "platform/libav/StreamDecoder.h"

#include "media/MediaError.h"
#include "platform/libav/DamageWatch.h"
#include "platform/libav/FileTail.h"
#include "platform/libav/LibavError.h"

#include <string>
#include <utility>

namespace fw::libav {
namespace {

Error cannotStart(int code) {
    return mediaError(MediaErrorCode::kDecoderMissing,
                      "The decoder cannot start (" + libavText(code) + ").");
}

void discardOthers(AVFormatContext& format, const AVStream& stream) {
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        format.streams[i]->discard =
            format.streams[i] == &stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
}

} // namespace

Result<StreamDecoder> openStream(ContainerSource& source, int streamIndex, int threads) {
    auto opened = source.take();
    if (!opened) {
        return opened.error();
    }
    StreamDecoder result;
    result.format = std::move(opened).value();
    if (streamIndex < 0 || streamIndex >= static_cast<int>(result.format->nb_streams)) {
        return mediaError(MediaErrorCode::kWrongUse, "The movie has no such track.");
    }
    result.stream = result.format->streams[streamIndex];
    const AVCodecParameters& parameters = *result.stream->codecpar;
    const AVCodec* decoder = avcodec_find_decoder(parameters.codec_id);
    if (decoder == nullptr) {
        return mediaError(MediaErrorCode::kDecoderMissing,
                          std::string("There is no decoder for ") +
                              avcodec_get_name(parameters.codec_id) + ".");
    }
    discardOthers(*result.format, *result.stream);
    result.codec.reset(avcodec_alloc_context3(decoder));
    const int code = result.codec ? avcodec_parameters_to_context(result.codec.get(), &parameters)
                                  : AVERROR(ENOMEM);
    if (code < 0) {
        return cannotStart(code);
    }
    result.codec->pkt_timebase = result.stream->time_base;
    result.codec->thread_count = threads;
    return result;
}

std::optional<Error> startDecoder(AVCodecContext& codec) {
    const int code = avcodec_open2(&codec, codec.codec, nullptr);
    return code < 0 ? std::optional(cannotStart(code)) : std::nullopt;
}

/// Demuxers find their way back behind most damage.
int readPacket(AVFormatContext& format, const AVStream& stream, AVPacket& packet,
               std::optional<Error>& firstError) {
    int errorsInARow = 0;
    for (;;) {
        const int result = av_read_frame(&format, &packet);
        if (result == AVERROR_INVALIDDATA && ++errorsInARow <= kMostErrorsInARow) {
            keepFirst(firstError,
                      mediaError(MediaErrorCode::kDamagedContainer,
                                 "The movie's data is damaged (" + libavText(result) + ")."));
            continue;
        }
        // QuickTime allows empty samples, AVI empty chunks: nothing of their own.
        const bool isOurs = result >= 0 && packet.stream_index == stream.index;
        if (isOurs && packet.size > 0 && (packet.flags & AV_PKT_FLAG_CORRUPT) != 0) {
            keepFirst(firstError, mediaError(MediaErrorCode::kDamagedContainer,
                                             "The container marks its data as corrupt."));
        }
        if (result < 0 || (isOurs && packet.size > 0)) {
            return result;
        }
        av_packet_unref(&packet);
        errorsInARow = 0;
    }
}

std::optional<Error> errorAtEnd(const AVFormatContext& format, int readResult) {
    const int inputError = format.pb != nullptr ? format.pb->error : 0;
    const bool inputFailed = inputError < 0 && inputError != AVERROR_EOF;
    if (readResult == AVERROR_EOF && !inputFailed) {
        const bool isCut = DamageWatch::isCutOff(format) || endsInMidData(format);
        return isCut ? std::optional(mediaError(MediaErrorCode::kEndsEarly,
                                                "The file was cut off: it ends in mid-data."))
                     : std::nullopt;
    }
    return mediaError(MediaErrorCode::kReadFailed,
                      "The file could not be read to its end (" +
                          libavText(inputError < 0 ? inputError : readResult) + ").");
}

void keepFirst(std::optional<Error>& firstError, const Error& error) {
    if (!firstError) {
        firstError = error;
    }
}

} // namespace fw::libav
