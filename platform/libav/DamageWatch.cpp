#include "platform/libav/DamageWatch.h"

extern "C" {
#include <libavutil/log.h>
}

#include <mutex>
#include <utility>

namespace fw::libav {
namespace {

bool hidesDamage(AVCodecID codec) {
    return codec == AV_CODEC_ID_FFV1 || codec == AV_CODEC_ID_MJPEG || codec == AV_CODEC_ID_MJPEGB ||
           codec == AV_CODEC_ID_JPEG2000 || codec == AV_CODEC_ID_FLAC;
}

/// The decoders that build pictures of macroblocks say this of bitstreams that do not decode and of
/// what they then fill in.
bool tellsOfLostMacroblocks(std::string_view message) {
    return message.starts_with("concealing ") || message.starts_with("error while decoding MB ");
}

/// Only Matroska's demuxer says this. Where no length is stated nothing else tells a file that was
/// cut off from a whole one.
bool tellsOfACut(std::string_view message) {
    return message.starts_with("File ended prematurely");
}

/// What `opaque` of a container points to when its file was cut off: the mark lives as long as the
/// container does, and belongs to the thread that reads it, which is the one that has the message.
char markOfACut;

} // namespace

DamageWatch::DamageWatch(AVCodecContext& codec) {
    codec.opaque = this; // libavcodec hands it on to the contexts of its threads.
}

/// The number goes with the packet to the thread that decodes it, and to its frame.
void DamageWatch::packet(AVCodecContext& codec) {
    codec.reordered_opaque = ++packets_;
}

bool DamageWatch::takeDamageOf(const AVFrame& frame) {
    const std::lock_guard lock(mutex_);
    const bool isOfItsPacket = damagedPackets_.erase(frame.reordered_opaque) > 0;
    return damage_.exchange(false) || isOfItsPacket;
}

bool DamageWatch::takeDamage() {
    const std::lock_guard lock(mutex_);
    const bool isOfPackets = !std::exchange(damagedPackets_, {}).empty();
    return damage_.exchange(false) || isOfPackets;
}

void DamageWatch::installLogReceiver() {
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(receive); });
}

bool DamageWatch::isCutOff(const AVFormatContext& format) {
    return format.opaque == &markOfACut;
}

/// An exception could not pass through libav.
void DamageWatch::receive(void* sender, int level, const char* message, va_list) noexcept {
    if (sender == nullptr || level > AV_LOG_INFO) {
        return;
    }
    const AVClass* const kind = *static_cast<const AVClass* const*>(sender);
    if (kind == avformat_get_class() && tellsOfACut(message)) {
        static_cast<AVFormatContext*>(sender)->opaque = &markOfACut;
    }
    if (kind != avcodec_get_class()) {
        return;
    }
    const auto& decoder = *static_cast<const AVCodecContext*>(sender);
    if (auto* watch = static_cast<DamageWatch*>(decoder.opaque)) {
        watch->hear(decoder, level, message);
    }
}

void DamageWatch::hear(const AVCodecContext& decoder, int level, std::string_view message) {
    if (hidesDamage(decoder.codec_id)) {
        if (level <= AV_LOG_ERROR) {
            damage_ = true;
        }
    } else if (tellsOfLostMacroblocks(message)) {
        const std::lock_guard lock(mutex_);
        damagedPackets_.insert(decoder.reordered_opaque);
    }
}

} // namespace fw::libav
