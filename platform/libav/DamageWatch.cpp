#include "platform/libav/DamageWatch.h"

extern "C" {
#include <libavutil/log.h>
}

#include <mutex>
#include <string_view>

namespace fw::libav {
namespace {

bool hidesDamage(AVCodecID codec) {
    return codec == AV_CODEC_ID_FFV1 || codec == AV_CODEC_ID_MJPEG || codec == AV_CODEC_ID_MJPEGB ||
           codec == AV_CODEC_ID_JPEG2000 || codec == AV_CODEC_ID_FLAC;
}

/// Only Matroska's demuxer says this. Where no length is stated nothing else tells a file that was
/// cut off from a whole one.
bool tellsOfACut(const char* message) {
    return std::string_view(message).starts_with("File ended prematurely");
}

/// What `opaque` of a container points to when its file was cut off: the mark lives as long as the
/// container does, and belongs to the thread that reads it, which is the one that has the message.
char markOfACut;

} // namespace

DamageWatch::DamageWatch(AVCodecContext& codec) {
    if (hidesDamage(codec.codec_id)) {
        codec.opaque = this; // libavcodec hands it on to the contexts of its threads.
    }
}

void DamageWatch::installLogReceiver() {
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(receive); });
}

bool DamageWatch::isCutOff(const AVFormatContext& format) {
    return format.opaque == &markOfACut;
}

void DamageWatch::receive(void* sender, int level, const char* message, va_list) {
    if (sender == nullptr || level > AV_LOG_ERROR) {
        return;
    }
    const AVClass* const kind = *static_cast<const AVClass* const*>(sender);
    if (kind == avformat_get_class() && tellsOfACut(message)) {
        static_cast<AVFormatContext*>(sender)->opaque = &markOfACut;
    }
    if (kind != avcodec_get_class()) {
        return;
    }
    if (auto* watch = static_cast<DamageWatch*>(static_cast<AVCodecContext*>(sender)->opaque)) {
        watch->damage_ = true;
    }
}

} // namespace fw::libav
