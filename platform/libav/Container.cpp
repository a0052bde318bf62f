#include "platform/libav/Container.h"

#include "media/MediaError.h"
#include "platform/FileDescriptor.h"
#include "platform/libav/DamageWatch.h"
#include "platform/libav/LibavError.h"

extern "C" {
#include <libavutil/avstring.h>
#include <libavutil/dict.h>
}

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>

namespace fw::libav {
namespace {

constexpr const char* kContainers = "mov,matroska,mxf,mpegts,mpeg,avi,dv,ogg,flv,yuv4mpegpipe,"
                                    "wav,aiff,flac,mp3,caf";

/// Says in the system's words why a file cannot be read; nothing when it can.
std::optional<Error> whyNotReadable(const std::string& path) {
    const auto systemsReason = [] {
        return mediaError(MediaErrorCode::kCannotOpen, std::strerror(errno));
    };
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return systemsReason();
    }
    if (S_ISDIR(status.st_mode)) {
        return mediaError(MediaErrorCode::kCannotOpen, "This is a folder, not a movie.");
    }
    if (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode)) {
        return mediaError(MediaErrorCode::kCannotOpen, "This is not a regular file.");
    }
    // Waits where another process holds a lease on the file, until that has been given up.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        return systemsReason();
    }
    if (S_ISREG(status.st_mode) && status.st_size == 0) {
        return mediaError(MediaErrorCode::kNotAMovie, "The file is empty.");
    }
    return std::nullopt;
}

/// Whether a file that was refused is of a known kind that is not on the list.
bool isOfOtherKind(const std::string& url) {
    AVIOContext* io = nullptr;
    if (avio_open(&io, url.c_str(), AVIO_FLAG_READ) < 0) {
        return false;
    }
    const AVInputFormat* kind = nullptr;
    av_probe_input_buffer2(io, &kind, url.c_str(), nullptr, 0, 0);
    avio_closep(&io);
    return kind != nullptr && av_match_list(kind->name, kContainers, ',') <= 0;
}

} // namespace

Result<FormatHandle> openContainer(const std::string& path) {
    DamageWatch::installLogReceiver();
    if (auto reason = whyNotReadable(path)) {
        return *reason;
    }
    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", kContainers, 0);
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    AVFormatContext* raw = nullptr;
    const std::string url = "file:" + path; // Also of a path that looks like "http:...".
    const int opened = avformat_open_input(&raw, url.c_str(), nullptr, &options);
    av_dict_free(&options);
    if (opened == AVERROR(EINVAL) && isOfOtherKind(url)) {
        return mediaError(MediaErrorCode::kNotAMovie, "Files of this kind are not supported.");
    }
    if (opened < 0) {
        return mediaError(MediaErrorCode::kNotAMovie,
                          "The file is not a movie that can be read, or its start is damaged (" +
                              libavText(opened) + ").");
    }
    FormatHandle format(raw);
    // A failure here only leaves streams unknown; the tracks that are known are still used.
    avformat_find_stream_info(format.get(), nullptr);
    return format;
}

bool isContainer(const AVFormatContext& format, const char* name) {
    return av_match_name(name, format.iformat->name) != 0;
}

bool isMovingPicture(const AVStream& stream) {
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
           (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

std::int64_t startOffset(const AVFormatContext& format, const AVStream& stream) {
    if (isContainer(format, "mov") || isContainer(format, "mxf")) {
        return 0; // Their timeline starts at zero by itself; an empty edit is part of it.
    }
    if (isContainer(format, "avi")) {
        // AVI counts frames in coding order; what a decoder holds back to reorder B-frames comes
        // out that much later on this clock.
        const std::int64_t start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
        return isMovingPicture(stream) ? start + stream.codecpar->video_delay : start;
    }
    if (format.start_time == AV_NOPTS_VALUE) {
        return 0;
    }
    const bool clockIsArbitrary = isContainer(format, "mpegts") || isContainer(format, "mpeg");
    if (format.start_time < 0 && !clockIsArbitrary) {
        return 0; // Sound that is primed before zero does not move the picture.
    }
    // The container's start is rounded to microseconds; a stream that starts with it says exactly
    // when that is.
    const std::int64_t rounded =
        av_rescale_q(format.start_time, AVRational{1, AV_TIME_BASE}, stream.time_base);
    if (stream.start_time != AV_NOPTS_VALUE && std::abs(stream.start_time - rounded) <= 1) {
        return stream.start_time;
    }
    return rounded;
}

} // namespace fw::libav
