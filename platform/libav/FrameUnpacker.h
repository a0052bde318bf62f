#pragma once

#include "platform/libav/Handles.h"
#include "platform/libav/PlanarPicture.h"

#include <optional>

namespace fw::libav {

/// The meaning of a decoded frame's samples; nothing for a pixel format that has no 4:2:2
/// equivalent (raw sensor data, floating point, hardware surfaces).
///
/// Untagged YUV is in video range, as is grey of a YUV codec; RGB and the grey of picture codecs
/// are in full range. The matrix that RGB is brought to is the tagged one, else BT.709 above 576
/// lines and BT.601 up to there.
std::optional<PictureFormat> pictureFormatOf(const AVFrame& frame, AVCodecID codec);

/// Gives the samples of any decoded frame in planes, unchanged but for bits below 8, which are
/// spread over 8 (v x 255 / most, nearest). Alpha is left out.
class FrameUnpacker {
public:
    /// The frame's own planes where they already are such planes, else a copy that is valid until
    /// the next call.
    PlanarPicture unpack(const AVFrame& frame, const PictureFormat& format);

private:
    PlaneStorage storage_;
};

} // namespace fw::libav
