#include "platform/libav/TrackDescription.h"

#include "media/FrameNumber.h"
#include "platform/libav/Container.h"
#include "platform/libav/StreamTiming.h"

extern "C" {
#include <libavutil/bswap.h>
#include <libavutil/dict.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <string_view>

namespace fw::libav {
namespace {

/// The code that the QuickTime family uses for a codec; 0 when it has none.
FourCC movCode(const AVCodecParameters& codec) {
    const AVCodecTag* tables[] = {codec.codec_type == AVMEDIA_TYPE_AUDIO
                                      ? avformat_get_mov_audio_tags()
                                      : avformat_get_mov_video_tags(),
                                  nullptr};
    return av_bswap32(av_codec_get_tag(tables, codec.codec_id));
}

/// The container's own code where that is a four-character code at all (a transport stream's is a
/// stream type), else the QuickTime family's.
FourCC codeOf(const AVFormatContext& format, const AVCodecParameters& codec) {
    const bool hasCode = isContainer(format, "mov") || isContainer(format, "avi");
    return hasCode && codec.codec_tag != 0 ? av_bswap32(codec.codec_tag) : movCode(codec);
}

std::string quotedCode(FourCC code) {
    std::string text = "'";
    for (const int shift : {24, 16, 8, 0}) {
        const auto c = static_cast<unsigned char>(code >> shift);
        if (c < 0x80) {
            text += static_cast<char>(c);
        } else { // Latin-1 in UTF-8.
            text += static_cast<char>(0xC0 | (c >> 6));
            text += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return text + "'";
}

/// The name of a picture format as the suite knows it, see FWAVFoundation::codecNameForTrack.
std::string formatName(const AVFormatContext& format, const AVStream& stream, FourCC code) {
    if (stream.codecpar->codec_id == AV_CODEC_ID_H264) {
        return "'avc1'";
    }
    if (stream.codecpar->codec_id == AV_CODEC_ID_HEVC) {
        return "hvc1";
    }
    if (code == fourCC("ap4x")) {
        return "ap4x";
    }
    // In the QuickTime family this tag is the compressor name of the sample entry.
    const AVDictionaryEntry* name = av_dict_get(stream.metadata, "encoder", nullptr, 0);
    if (isContainer(format, "mov") && name != nullptr && *name->value != '\0') {
        return name->value;
    }
    return quotedCode(code);
}

FourCC audioFormatId(const AVFormatContext& format, const AVCodecParameters& codec) {
    if (std::string_view(avcodec_get_name(codec.codec_id)).starts_with("pcm_")) {
        return fourCC("lpcm");
    }
    if (codec.codec_id == AV_CODEC_ID_AAC) {
        return fourCC("aac ");
    }
    const FourCC known = movCode(codec);
    return known != 0 ? known : codeOf(format, codec);
}

int bitsPerComponent(const AVCodecParameters& codec) {
    const auto* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(codec.format));
    return description != nullptr ? description->comp[0].depth : codec.bits_per_raw_sample;
}

void describeVideo(Track& track, const AVFormatContext& format, const AVStream& stream) {
    const AVCodecParameters& codec = *stream.codecpar;
    FormatDescription description;
    description.mediaType = fourCC("vide");
    description.mediaSubType = codeOf(format, codec);
    description.formatName = formatName(format, stream, description.mediaSubType);
    track.formatDescriptions.push_back(std::move(description));
    track.frameRate = StreamTiming(format, stream).rate();
    track.nominalFrameRate = nominalFrameRate(track.frameRate);
    track.frameCount = statedFrameCount(format, stream);
    track.width = static_cast<std::uint32_t>(std::max(codec.width, 0));
    track.height = static_cast<std::uint32_t>(std::max(codec.height, 0));
    track.bitsPerComponent = bitsPerComponent(codec);
}

void describeAudio(Track& track, const AVFormatContext& format, const AVStream& stream) {
    FormatDescription description;
    description.mediaType = fourCC("soun");
    description.mediaSubType = codeOf(format, *stream.codecpar);
    description.audioFormatId = audioFormatId(format, *stream.codecpar);
    description.audioStream = AudioStreamDescription{
        static_cast<double>(stream.codecpar->sample_rate),
        static_cast<std::uint32_t>(std::max(stream.codecpar->ch_layout.nb_channels, 0))};
    track.formatDescriptions.push_back(std::move(description));
}

} // namespace

Track trackOfStream(const AVFormatContext& format, const AVStream& stream) {
    Track track;
    track.id = stream.index;
    if (isMovingPicture(stream)) {
        track.mediaType = MediaType::kVideo;
        describeVideo(track, format, stream);
    } else if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
        track.mediaType = MediaType::kAudio;
        describeAudio(track, format, stream);
    }
    return track;
}

bool isEncrypted(const AVStream& stream, const std::vector<MovSampleEntry>& entries) {
    // Matroska's key id comes as a tag.
    if (av_stream_get_side_data(&stream, AV_PKT_DATA_ENCRYPTION_INIT_INFO, nullptr) != nullptr ||
        av_dict_get(stream.metadata, "enc_key_id", nullptr, 0) != nullptr) {
        return true;
    }
    // Common encryption (ISO/IEC 23001-7) and the older protected formats rename the entry.
    constexpr std::array kProtected = {fourCC("encv"), fourCC("enca"), fourCC("encs"),
                                       fourCC("enct"), fourCC("drmi"), fourCC("drms")};
    return std::any_of(entries.begin(), entries.end(), [&](const MovSampleEntry& entry) {
        return static_cast<int>(entry.trackId) == stream.id &&
               std::find(kProtected.begin(), kProtected.end(), entry.type) != kProtected.end();
    });
}

} // namespace fw::libav
