#include "platform/libav/FrameConverter.h"

#include "base/PlatformException.h"
#include "platform/libav/Packers.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <string>

namespace fw::libav {

std::shared_ptr<PixelBuffer> FrameConverter::convert(const AVFrame& frame) {
    const auto format = pictureFormatOf(frame, codec_);
    if (!format) {
        const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(frame.format));
        throw PlatformException("The pixel format " + std::string(name ? name : "of the movie") +
                                " cannot be brought to 4:2:2.");
    }
    const PlanarPicture picture = unpacker_.unpack(frame, *format);
    const int depth = layout_ == PixelLayout::kV210 ? 10 : 8;
    const PlanarPicture converted = rangeConverter_.convert(picture, depth);
    auto buffer = pool_.take(layout_, static_cast<std::uint64_t>(format->width),
                             static_cast<std::uint64_t>(format->height));
    PlanarPicture shown = converted;
    shown.format.width = format->width;
    shown.format.height = format->height;
    if (layout_ == PixelLayout::kV210) {
        packV210(shown, *buffer);
    } else {
        pack2vuy(shown, *buffer);
    }
    return buffer;
}

} // namespace fw::libav
