#include "platform/libav/LostPictures.h"

#include "platform/libav/Container.h"

namespace fw::libav {
namespace {

bool leavesOutSilently(AVCodecID codec) {
    return codec == AV_CODEC_ID_MPEG1VIDEO || codec == AV_CODEC_ID_MPEG2VIDEO ||
           codec == AV_CODEC_ID_DIRAC;
}

/// The others do not tell, or only guess, when a packet's picture is shown.
bool tellsTimes(const AVFormatContext& format) {
    return isContainer(format, "mov") || isContainer(format, "matroska") ||
           isContainer(format, "mxf");
}

} // namespace

LostPictures::LostPictures(const AVFormatContext& format, AVCodecID codec)
    : isWatching_(leavesOutSilently(codec) && tellsTimes(format)) {}

void LostPictures::packet(const AVPacket& packet) {
    if (isWatching_ && packet.pts != AV_NOPTS_VALUE && (packet.flags & AV_PKT_FLAG_DISCARD) == 0) {
        awaited_.insert(packet.pts);
    }
}

bool LostPictures::isAnyMissingBefore(const AVFrame& picture) {
    if (picture.pts == AV_NOPTS_VALUE) {
        return false;
    }
    const auto missing = awaited_.lower_bound(picture.pts);
    const bool isAny = missing != awaited_.begin();
    awaited_.erase(awaited_.begin(), missing);
    awaited_.erase(picture.pts);
    return isAny;
}

} // namespace fw::libav
