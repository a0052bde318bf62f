#pragma once

#include "platform/libav/Handles.h"

#include <memory>

namespace fw::libav {

/// Tells the packets at which a stream changes its size or pixel format. Some decoders forget the
/// frames that they still hold back when that happens, so they are emptied before such a packet.
class FormatWatch {
public:
    explicit FormatWatch(const AVCodecParameters& codec);

    /// To be asked once for each packet, in order.
    bool changesAt(const AVPacket& packet);

private:
    struct CloseParser {
        void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
    };
    struct Shape {
        int width = 0;
        int height = 0;
        int format = -1;
        bool operator==(const Shape&) const = default;
    };

    std::unique_ptr<AVCodecParserContext, CloseParser> parser_; ///< Null: the codec has none.
    CodecHandle codec_;
    Shape shape_;
};

} // namespace fw::libav
