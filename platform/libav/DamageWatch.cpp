#include "platform/libav/DamageWatch.h"

extern "C" {
#include <libavutil/log.h>
}

#include <mutex>

namespace fw::libav {
namespace {

bool hidesDamage(AVCodecID codec) {
    return codec == AV_CODEC_ID_FFV1 || codec == AV_CODEC_ID_MJPEG || codec == AV_CODEC_ID_MJPEGB ||
           codec == AV_CODEC_ID_JPEG2000 || codec == AV_CODEC_ID_FLAC;
}

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

void DamageWatch::receive(void* sender, int level, const char*, va_list) {
    if (sender == nullptr || level > AV_LOG_ERROR ||
        *static_cast<const AVClass* const*>(sender) != avcodec_get_class()) {
        return;
    }
    if (auto* watch = static_cast<DamageWatch*>(static_cast<AVCodecContext*>(sender)->opaque)) {
        watch->damage_ = true;
    }
}

} // namespace fw::libav
