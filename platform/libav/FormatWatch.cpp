#include "platform/libav/FormatWatch.h"

namespace fw::libav {

FormatWatch::FormatWatch(const AVCodecParameters& codec)
    : parser_(av_parser_init(codec.codec_id)),
      codec_(avcodec_alloc_context3(avcodec_find_decoder(codec.codec_id))) {
    if (!codec_ || avcodec_parameters_to_context(codec_.get(), &codec) < 0) {
        parser_.reset();
    }
    if (parser_) {
        parser_->flags |= PARSER_FLAG_COMPLETE_FRAMES; // Demuxers give whole frames.
    }
}

bool FormatWatch::changesAt(const AVPacket& packet) {
    const bool hasNewHeader =
        av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, nullptr) != nullptr;
    if (!parser_) {
        return hasNewHeader;
    }
    std::uint8_t* data = nullptr;
    int size = 0;
    av_parser_parse2(parser_.get(), codec_.get(), &data, &size, packet.data, packet.size,
                     packet.pts, packet.dts, packet.pos);
    const Shape shape{parser_->width, parser_->height, parser_->format};
    if (shape.width <= 0 || shape == shape_) {
        return hasNewHeader;
    }
    const bool isFirst = shape_ == Shape{};
    shape_ = shape;
    // Only a key frame can stand without the frames before it; AV1 also changes size in between.
    const bool isKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    return hasNewHeader || (!isFirst && isKey);
}

} // namespace fw::libav
