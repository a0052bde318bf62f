#include "platform/libav/FrameUnpacker.h"

extern "C" {
#include <libavutil/intreadwrite.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cstring>
#include <vector>

namespace fw::libav {
namespace {

bool hasFlag(const AVPixFmtDescriptor& description, std::uint64_t flag) {
    return (description.flags & flag) != 0;
}

bool isAlphaOnly(const AVPixFmtDescriptor& description, int component) {
    return hasFlag(description, AV_PIX_FMT_FLAG_ALPHA) &&
           component == description.nb_components - 1;
}

int colourComponents(const AVPixFmtDescriptor& description) {
    int count = 0;
    while (count < description.nb_components && !isAlphaOnly(description, count)) {
        ++count;
    }
    return count;
}

/// Codecs whose grey is a picture's, black at 0 and white at the largest code.
bool isPictureCodec(AVCodecID codec) {
    switch (codec) {
    case AV_CODEC_ID_PNG:
    case AV_CODEC_ID_APNG:
    case AV_CODEC_ID_QTRLE:
    case AV_CODEC_ID_TIFF:
    case AV_CODEC_ID_BMP:
    case AV_CODEC_ID_TARGA:
    case AV_CODEC_ID_SGI:
    case AV_CODEC_ID_DPX:
    case AV_CODEC_ID_MJPEG:
        return true;
    default:
        return false;
    }
}

/// The pixel formats whose very name says full range.
bool isJpegFormat(AVPixelFormat format) {
    switch (format) {
    case AV_PIX_FMT_YUVJ411P:
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ444P:
        return true;
    default:
        return false;
    }
}

bool isFullRange(const AVFrame& frame, const AVPixFmtDescriptor& description, SampleFamily family,
                 AVCodecID codec) {
    if (family == SampleFamily::kRgb || isJpegFormat(static_cast<AVPixelFormat>(frame.format))) {
        return true;
    }
    if (frame.color_range != AVCOL_RANGE_UNSPECIFIED) {
        return frame.color_range == AVCOL_RANGE_JPEG;
    }
    return family == SampleFamily::kGray &&
           (isPictureCodec(codec) || description.comp[0].depth < 8);
}

AVColorSpace lumaMatrix(const AVFrame& frame) {
    if (frame.colorspace == AVCOL_SPC_UNSPECIFIED || frame.colorspace == AVCOL_SPC_RGB ||
        frame.colorspace == AVCOL_SPC_RESERVED) {
        return frame.height > 576 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    }
    return frame.colorspace;
}

/// Where one component's samples lie in a frame.
struct ComponentSource {
    const std::uint8_t* data;
    std::ptrdiff_t stride;
    int step; ///< Bytes from one sample to the next.
    int shift;
    int depth;
};

ComponentSource sourceOf(const AVFrame& frame, const AVPixFmtDescriptor& description,
                         int component) {
    const AVComponentDescriptor& c = description.comp[component];
    return {frame.data[c.plane] + c.offset, frame.linesize[c.plane], c.step, c.shift, c.depth};
}

/// Whole bytes or little-endian words, one after the other, with the sample in the low bits.
bool isOwnPlane(const AVPixFmtDescriptor& description, const ComponentSource& source) {
    const int bytes = source.depth > 8 ? 2 : 1;
    const bool isForeignOrder = bytes == 2 && hasFlag(description, AV_PIX_FMT_FLAG_BE);
    return source.step == bytes && source.shift == 0 && source.depth >= 8 && !isForeignOrder;
}

bool isPlanar(const AVFrame& frame, const AVPixFmtDescriptor& description) {
    if (hasFlag(description, AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM)) {
        return false;
    }
    for (int c = 0; c < colourComponents(description); ++c) {
        if (!isOwnPlane(description, sourceOf(frame, description, c))) {
            return false;
        }
    }
    return true;
}

void copyBytes(const ComponentSource& source, int y, int width, std::uint8_t* to) {
    const std::uint8_t* from = source.data + source.stride * y;
    for (int x = 0; x < width; ++x) {
        to[x] = from[x * source.step];
    }
}

template <std::uint16_t (*read)(const std::uint8_t*)>
void copyWords(const ComponentSource& source, int y, int width, std::uint8_t* to) {
    const std::uint8_t* from = source.data + source.stride * y;
    const auto mask = static_cast<std::uint16_t>((1U << source.depth) - 1);
    for (int x = 0; x < width; ++x) {
        const auto sample =
            static_cast<std::uint16_t>((read(from + x * source.step) >> source.shift) & mask);
        std::memcpy(to + 2 * x, &sample, 2);
    }
}

std::uint16_t readLittleEndian(const std::uint8_t* bytes) {
    return AV_RL16(bytes);
}

std::uint16_t readBigEndian(const std::uint8_t* bytes) {
    return AV_RB16(bytes);
}

/// Any other arrangement (bit fields, bit streams), by libavutil's own reader. Samples of fewer
/// than 8 bits are spread over 8.
void copyBitFields(const AVFrame& frame, const AVPixFmtDescriptor& description, int component,
                   int y, int width, std::uint8_t* to) {
    const int depth = description.comp[component].depth;
    std::array<const std::uint8_t*, 4> planes{frame.data[0], frame.data[1], frame.data[2],
                                              frame.data[3]};
    if (depth > 8) {
        av_read_image_line2(to, planes.data(), frame.linesize, &description, 0, y, component, width,
                            0, 2);
        return;
    }
    // The reader writes words at least.
    std::array<std::uint16_t, 256> words{};
    const int most = (1 << depth) - 1;
    const bool isInverted = frame.format == AV_PIX_FMT_MONOWHITE;
    for (int x = 0; x < width; x += static_cast<int>(words.size())) {
        const int count = std::min(width - x, static_cast<int>(words.size()));
        av_read_image_line2(words.data(), planes.data(), frame.linesize, &description, x, y,
                            component, count, 0, 2);
        for (int i = 0; i < count; ++i) {
            const int value = isInverted ? most - words[static_cast<std::size_t>(i)]
                                         : words[static_cast<std::size_t>(i)];
            to[x + i] = static_cast<std::uint8_t>((value * 255 + most / 2) / most);
        }
    }
}

/// One component of the colours that a row of palette indexes names; the palette holds native
/// 32-bit words of alpha, red, green and blue.
void copyPalette(const AVFrame& frame, int component, int y, int width, std::uint8_t* to) {
    const std::uint8_t* from = frame.data[0] + std::ptrdiff_t{frame.linesize[0]} * y;
    const int shift = 16 - 8 * component;
    for (int x = 0; x < width; ++x) {
        std::uint32_t colour = 0;
        std::memcpy(&colour, frame.data[1] + 4 * from[x], 4);
        to[x] = static_cast<std::uint8_t>(colour >> shift);
    }
}

void copyRow(const AVFrame& frame, const AVPixFmtDescriptor& description, int component, int y,
             int width, std::uint8_t* to) {
    if (hasFlag(description, AV_PIX_FMT_FLAG_PAL)) {
        copyPalette(frame, component, y, width, to);
        return;
    }
    const ComponentSource source = sourceOf(frame, description, component);
    const bool isBitField = hasFlag(description, AV_PIX_FMT_FLAG_BITSTREAM) || source.depth < 8 ||
                            source.depth + source.shift > 16;
    if (isBitField) {
        copyBitFields(frame, description, component, y, width, to);
    } else if (source.depth == 8 && source.shift == 0) {
        copyBytes(source, y, width, to);
    } else if (hasFlag(description, AV_PIX_FMT_FLAG_BE)) {
        copyWords<readBigEndian>(source, y, width, to);
    } else {
        copyWords<readLittleEndian>(source, y, width, to);
    }
}

} // namespace

std::optional<PictureFormat> pictureFormatOf(const AVFrame& frame, AVCodecID codec) {
    const auto* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    constexpr std::uint64_t kForeign =
        AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_FLOAT;
    if (description == nullptr || hasFlag(*description, kForeign) || frame.width <= 0 ||
        frame.height <= 0 || frame.format == AV_PIX_FMT_XYZ12LE ||
        frame.format == AV_PIX_FMT_XYZ12BE) {
        return std::nullopt;
    }
    PictureFormat format;
    format.family = hasFlag(*description, AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)
                        ? SampleFamily::kRgb
                    : colourComponents(*description) == 1 ? SampleFamily::kGray
                                                          : SampleFamily::kYuv;
    format.depth = std::max(description->comp[0].depth, 8);
    if (format.family == SampleFamily::kYuv) {
        format.chromaShiftX = description->log2_chroma_w;
        format.chromaShiftY = description->log2_chroma_h;
    }
    format.isFullRange = isFullRange(frame, *description, format.family, codec);
    format.matrix = lumaMatrix(frame);
    if (frame.chroma_location != AVCHROMA_LOC_UNSPECIFIED) {
        format.chromaLocation = frame.chroma_location;
    }
    format.isInterlaced = frame.interlaced_frame != 0;
    format.width = frame.width;
    format.height = frame.height;
    return format;
}

PlanarPicture FrameUnpacker::unpack(const AVFrame& frame, const PictureFormat& format) {
    const auto& description = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    PlanarPicture picture;
    picture.format = format;
    const bool isDirect = isPlanar(frame, description);
    for (int plane = 0; plane < format.planeCount(); ++plane) {
        const auto index = static_cast<std::size_t>(plane);
        if (isDirect) {
            const ComponentSource source = sourceOf(frame, description, plane);
            picture.data[index] = source.data;
            picture.stride[index] = source.stride;
            continue;
        }
        const int width = format.planeWidth(plane);
        const int height = format.planeHeight(plane);
        storage_.resize(plane, width, height, format.bytesPerSample());
        for (int y = 0; y < height; ++y) {
            copyRow(frame, description, plane, y, width, storage_.row(plane, y));
        }
        picture.data[index] = storage_.row(plane, 0);
        picture.stride[index] = storage_.stride(plane);
    }
    return picture;
}

} // namespace fw::libav
