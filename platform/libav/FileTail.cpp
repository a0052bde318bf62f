#include "platform/libav/FileTail.h"

#include "platform/libav/Container.h"

extern "C" {
#include <libavcodec/dv_profile.h>
#include <libavutil/imgutils.h>
}

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace fw::libav {
namespace {

constexpr std::string_view kOggPage = "OggS";

/// The bytes from one place of the file to another; fewer where it cannot be read.
std::string bytesBetween(AVIOContext& io, std::int64_t from, std::int64_t to) {
    const std::int64_t place = avio_tell(&io);
    std::string bytes(static_cast<std::size_t>(to - from), '\0');
    const int length = avio_seek(&io, from, SEEK_SET) < 0
                           ? 0
                           : avio_read(&io, reinterpret_cast<unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(std::max(length, 0)));
    avio_seek(&io, place, SEEK_SET);
    return bytes;
}

/// Every frame comes after a line "FRAME", which may hold parameters, and the first line is the
/// header of the file.
bool endsInMidY4mFrame(AVIOContext& io, const AVCodecParameters& picture) {
    constexpr std::int64_t kLongestLine = 256;
    const std::int64_t size = avio_size(&io);
    const auto header = bytesBetween(io, 0, std::min(size, kLongestLine));
    if (static_cast<std::int64_t>(header.find('\n')) == size - 1) {
        return false; // No frames at all.
    }
    const std::int64_t frame = av_image_get_buffer_size(static_cast<AVPixelFormat>(picture.format),
                                                        picture.width, picture.height, 1);
    if (frame <= 0) {
        return false; // What is read is not known.
    }
    if (size <= frame) {
        return true;
    }
    const std::int64_t start = size - frame;
    const auto before = bytesBetween(io, std::max<std::int64_t>(start - kLongestLine, 0), start);
    const std::size_t line = before.rfind("FRAME");
    return line == std::string::npos || before.find('\n', line) != before.size() - 1;
}

/// Every frame begins with the header of its first DIF sequence (IEC 61834-2, SMPTE 314M).
bool endsInMidDvFrame(AVIOContext& io, const AVStream& stream) {
    constexpr std::int64_t kHeader = 4;
    const AVCodecParameters& picture = *stream.codecpar;
    const AVDVProfile* profile = av_dv_codec_profile2(picture.width, picture.height,
                                                      static_cast<AVPixelFormat>(picture.format),
                                                      av_inv_q(stream.time_base));
    if (profile == nullptr) {
        return false; // What is read is not known.
    }
    const std::int64_t start = avio_size(&io) - profile->frame_size;
    if (start < 0) {
        return true;
    }
    const auto header = bytesBetween(io, start, start + kHeader);
    return !header.starts_with(std::string_view("\x1F\x07\x00", 3)) ||
           (header.back() & 0x7F) != 0x3F;
}

/// How long the page is that begins at a place of the bytes, as its header says; nothing where no
/// whole header is (RFC 3533, 6).
std::optional<std::size_t> oggPageLength(std::string_view bytes, std::size_t place) {
    constexpr std::size_t kHeader = 27;
    const std::string_view page = bytes.substr(place);
    const auto byteAt = [page](std::size_t i) {
        return static_cast<unsigned char>(page[i]);
    };
    if (!page.starts_with(kOggPage) || page.size() < kHeader) {
        return std::nullopt;
    }
    const std::size_t segments = byteAt(kHeader - 1);
    if (page.size() < kHeader + segments) {
        return std::nullopt;
    }
    std::size_t length = kHeader + segments;
    for (std::size_t i = 0; i < segments; ++i) {
        length += byteAt(kHeader + i);
    }
    return length;
}

/// Whole when the last page ends where the file does.
bool endsInMidOggPage(AVIOContext& io) {
    constexpr std::int64_t kLongestPage = 27 + 255 + 255 * 255;
    const std::int64_t size = avio_size(&io);
    const auto tail = bytesBetween(io, std::max<std::int64_t>(size - kLongestPage, 0), size);
    const std::string_view bytes = tail;
    for (std::size_t place = bytes.find(kOggPage); place != bytes.npos;
         place = bytes.find(kOggPage, place + 1)) {
        if (oggPageLength(bytes, place) == bytes.size() - place) {
            return false;
        }
    }
    return true;
}

} // namespace

bool endsInMidData(const AVFormatContext& format) {
    if (format.pb == nullptr || avio_size(format.pb) <= 0) {
        return false; // A device tells no size.
    }
    if (isContainer(format, "ogg")) {
        return endsInMidOggPage(*format.pb);
    }
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream& stream = *format.streams[i];
        if (isMovingPicture(stream) && isContainer(format, "yuv4mpegpipe")) {
            return endsInMidY4mFrame(*format.pb, *stream.codecpar);
        }
        if (isMovingPicture(stream) && isContainer(format, "dv")) {
            return endsInMidDvFrame(*format.pb, stream);
        }
    }
    return false;
}

} // namespace fw::libav
