#include "platform/libav/FrameUnpacker.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/intreadwrite.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace fw::libav {
namespace {

constexpr int kWidth = 37; // Odd, and no multiple of any group.
constexpr int kHeight = 6;

FrameHandle randomFrame(AVPixelFormat format, unsigned seed) {
    FrameHandle frame = makeFrame();
    frame->format = format;
    frame->width = kWidth;
    frame->height = kHeight;
    if (av_frame_get_buffer(frame.get(), 64) < 0) {
        return nullptr;
    }
    std::mt19937 random(seed);
    for (const auto* buffer : frame->buf) {
        for (std::size_t i = 0; buffer != nullptr && i < buffer->size; ++i) {
            buffer->data[i] = static_cast<std::uint8_t>(random());
        }
    }
    return frame;
}

/// One sample by libavutil's own reader, spread over 8 bits where it has fewer.
int referenceSample(const AVFrame& frame, const AVPixFmtDescriptor& description, int component,
                    int x, int y) {
    const std::uint8_t* planes[4] = {frame.data[0], frame.data[1], frame.data[2], frame.data[3]};
    std::uint16_t sample = 0;
    if ((description.flags & AV_PIX_FMT_FLAG_PAL) != 0) {
        const std::uint8_t index = frame.data[0][y * frame.linesize[0] + x];
        return frame.data[1][4 * index + 2 - component]; // Blue, green, red, alpha in memory.
    }
    av_read_image_line2(&sample, planes, frame.linesize, &description, x, y, component, 1, 0, 2);
    const int depth = description.comp[component].depth;
    if (depth >= 8) {
        return sample;
    }
    const int most = (1 << depth) - 1;
    const int value = frame.format == AV_PIX_FMT_MONOWHITE ? most - sample : sample;
    return (value * 255 * 2 + most) / (2 * most);
}

TEST(FrameUnpacker, givesTheSamplesOfEveryPixelFormatUnchanged) {
    int formatsSeen = 0;
    for (int number = 0; number < AV_PIX_FMT_NB; ++number) {
        const auto pixelFormat = static_cast<AVPixelFormat>(number);
        const auto* description = av_pix_fmt_desc_get(pixelFormat);
        if (description == nullptr || (description->flags & AV_PIX_FMT_FLAG_HWACCEL) != 0) {
            continue;
        }
        const FrameHandle frame = randomFrame(pixelFormat, static_cast<unsigned>(number));
        if (!frame) {
            continue;
        }
        const auto format = pictureFormatOf(*frame, AV_CODEC_ID_FFV1);
        const bool isForeign =
            (description->flags & (AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_FLOAT)) != 0 ||
            std::string(description->name).starts_with("xyz");
        ASSERT_EQ(format.has_value(), !isForeign) << description->name;
        if (!format) {
            continue;
        }
        ++formatsSeen;
        FrameUnpacker unpacker;
        const PlanarPicture picture = unpacker.unpack(*frame, *format);
        for (int plane = 0; plane < format->planeCount(); ++plane) {
            for (int y = 0; y < format->planeHeight(plane); ++y) {
                for (int x = 0; x < format->planeWidth(plane); ++x) {
                    int sample = picture.row(plane, y)[x * format->bytesPerSample()];
                    if (format->depth > 8) {
                        // Decoders leave the bits above the depth clear; random ones are not.
                        sample =
                            AV_RL16(picture.row(plane, y) + 2 * x) & ((1 << format->depth) - 1);
                    }
                    ASSERT_EQ(sample, referenceSample(*frame, *description, plane, x, y))
                        << description->name << " plane " << plane << " at " << x << ", " << y;
                }
            }
        }
    }
    EXPECT_GT(formatsSeen, 150);
}

TEST(PictureFormat, takesUntaggedYuvAsVideoRangeAndTheJpegFormatsAsFull) {
    EXPECT_FALSE(
        pictureFormatOf(*randomFrame(AV_PIX_FMT_YUV420P, 1), AV_CODEC_ID_H264)->isFullRange);
    EXPECT_TRUE(
        pictureFormatOf(*randomFrame(AV_PIX_FMT_YUVJ420P, 1), AV_CODEC_ID_H264)->isFullRange);
    const FrameHandle tagged = randomFrame(AV_PIX_FMT_YUV422P10LE, 1);
    tagged->color_range = AVCOL_RANGE_JPEG;
    EXPECT_TRUE(pictureFormatOf(*tagged, AV_CODEC_ID_PRORES)->isFullRange);
}

TEST(PictureFormat, takesGreyOfPictureCodecsAsFullRangeAndOfVideoCodecsAsVideoRange) {
    const FrameHandle frame = randomFrame(AV_PIX_FMT_GRAY8, 1);
    EXPECT_TRUE(pictureFormatOf(*frame, AV_CODEC_ID_PNG)->isFullRange);
    EXPECT_FALSE(pictureFormatOf(*frame, AV_CODEC_ID_H264)->isFullRange);
    frame->color_range = AVCOL_RANGE_MPEG;
    EXPECT_FALSE(pictureFormatOf(*frame, AV_CODEC_ID_PNG)->isFullRange);
}

TEST(PictureFormat, bringsRgbToTheTaggedMatrixOrChoosesItByTheHeight) {
    const FrameHandle frame = randomFrame(AV_PIX_FMT_RGB24, 1);
    frame->colorspace = AVCOL_SPC_RGB;
    frame->height = 576;
    EXPECT_EQ(pictureFormatOf(*frame, AV_CODEC_ID_PNG)->matrix, AVCOL_SPC_SMPTE170M);
    frame->height = 577;
    EXPECT_EQ(pictureFormatOf(*frame, AV_CODEC_ID_PNG)->matrix, AVCOL_SPC_BT709);
    frame->colorspace = AVCOL_SPC_BT2020_NCL;
    EXPECT_EQ(pictureFormatOf(*frame, AV_CODEC_ID_PNG)->matrix, AVCOL_SPC_BT2020_NCL);
    frame->height = kHeight;
}

TEST(PictureFormat, refusesAPictureWithoutPixels) {
    const FrameHandle frame = makeFrame();
    frame->format = AV_PIX_FMT_YUV420P;
    EXPECT_FALSE(pictureFormatOf(*frame, AV_CODEC_ID_H264).has_value());
}

} // namespace
} // namespace fw::libav
