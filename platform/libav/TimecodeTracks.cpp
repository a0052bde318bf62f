#include "platform/libav/TimecodeTracks.h"

#include "base/text.h"
#include "platform/libav/Container.h"

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/intreadwrite.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <memory>

namespace fw::libav {
namespace {

constexpr int kFrameNumberBytes = 4;

FourCC codeOf(const AVStream& stream) {
    return av_bswap32(stream.codecpar->codec_tag);
}

/// Flags, timescale, frame duration and quanta, as the sample entry has them (QuickTime File
/// Format, "Timecode Sample Description"): 4 reserved bytes, 3 big-endian words and a byte.
void describe(FormatDescription& format, const std::uint8_t* payload, std::size_t size) {
    if (size < 17) {
        return;
    }
    format.timecodeFlags = AV_RB32(payload + 4);
    format.frameDuration = MediaTime::make(static_cast<std::int32_t>(AV_RB32(payload + 12)),
                                           static_cast<std::int32_t>(AV_RB32(payload + 8)));
    format.frameQuanta = payload[16];
}

/// The first samples, up to and with the first that holds a frame number.
std::vector<SampleBuffer> leadingSamples(const std::string& path, const AVStream& stream,
                                         const FormatDescription& format) {
    std::vector<SampleBuffer> samples;
    std::ifstream file(path, std::ios::binary);
    const auto description = std::make_shared<FormatDescription>(format);
    const int count = avformat_index_get_entries_count(&stream);
    for (int i = 0; i < count; ++i) {
        const auto* entry = avformat_index_get_entry(const_cast<AVStream*>(&stream), i);
        SampleBuffer sample;
        sample.presentationTime =
            MediaTime::make(entry->timestamp * stream.time_base.num, stream.time_base.den);
        sample.formatDescription = description;
        // A frame number is all that a sample can hold; what follows it is of no use here.
        sample.data.resize(static_cast<std::size_t>(std::clamp(entry->size, 0, 4096)));
        file.clear();
        file.seekg(entry->pos);
        file.read(reinterpret_cast<char*>(sample.data.data()),
                  static_cast<std::streamsize>(sample.data.size()));
        sample.data.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
        const bool isUsable = sample.data.size() >= kFrameNumberBytes;
        samples.push_back(std::move(sample));
        if (isUsable) {
            break;
        }
    }
    return samples;
}

/// The tag as the container or one of its streams has it.
const char* timecodeTag(const AVFormatContext& format) {
    const AVDictionaryEntry* entry = av_dict_get(format.metadata, "timecode", nullptr, 0);
    for (unsigned i = 0; entry == nullptr && i < format.nb_streams; ++i) {
        entry = av_dict_get(format.streams[i]->metadata, "timecode", nullptr, 0);
    }
    return entry == nullptr ? nullptr : entry->value;
}

bool isDropFrameText(std::string_view timecode) {
    const std::size_t separator = timecode.find_last_of(":;.");
    return separator != std::string_view::npos && timecode[separator] != ':';
}

/// 1001 / (1000 x quanta) seconds when the rate is one of those, else 1 / rate.
MediaTime frameDurationOf(const FrameRate& rate, std::int64_t quanta) {
    const double exact =
        static_cast<double>(rate.numerator) / static_cast<double>(rate.denominator);
    const double pulledDown = static_cast<double>(quanta) * 1000 / 1001;
    if (rate.denominator != 1 && std::abs(exact - pulledDown) <= pulledDown * 0.001) {
        return MediaTime::make(1001, static_cast<std::int32_t>(1000 * quanta));
    }
    return MediaTime::make(rate.denominator, static_cast<std::int32_t>(rate.numerator));
}

} // namespace

std::optional<TimecodeTrack> timecodeTrackOfStream(const std::string& path, const AVStream& stream,
                                                   const std::vector<MovSampleEntry>& entries) {
    const FourCC code = codeOf(stream);
    if (code != fourCC("tmcd") && code != fourCC("cn32")) {
        return std::nullopt;
    }
    FormatDescription format;
    format.mediaType = fourCC("tmcd");
    format.mediaSubType = code;
    const auto entry = std::find_if(entries.begin(), entries.end(), [&](const auto& candidate) {
        return static_cast<int>(candidate.trackId) == stream.id && candidate.type == code;
    });
    if (entry != entries.end()) {
        describe(format, entry->payload.data(), entry->payload.size());
    } else {
        describe(format, stream.codecpar->extradata,
                 static_cast<std::size_t>(stream.codecpar->extradata_size));
    }
    TimecodeTrack result;
    result.track.id = stream.index;
    result.track.mediaType = MediaType::kTimecode;
    result.track.formatDescriptions.push_back(format);
    result.samples = leadingSamples(path, stream, format);
    return result;
}

std::optional<std::uint32_t> recordedFrameNumber(std::string_view timecode, std::uint32_t quanta) {
    const auto fields = splitAtAnyOf(timecode, ":;.");
    const auto isNumber = [](std::string_view field) {
        return !field.empty() && field.size() <= 3 &&
               field.find_first_not_of("0123456789") == std::string_view::npos;
    };
    if (quanta == 0 || fields.size() != 4 || !std::all_of(fields.begin(), fields.end(), isNumber)) {
        return std::nullopt;
    }
    std::array<std::uint32_t, 4> value{};
    std::transform(fields.begin(), fields.end(), value.begin(), [](std::string_view field) {
        return static_cast<std::uint32_t>(leadingInteger(field));
    });
    const auto [hours, minutes, seconds, frames] = value;
    if (minutes > 59 || seconds > 59 || frames >= quanta) {
        return std::nullopt;
    }
    const std::uint32_t totalMinutes = hours * 60 + minutes;
    std::uint32_t number = (totalMinutes * 60 + seconds) * quanta + frames;
    if (isDropFrameText(timecode) && quanta % 30 == 0) {
        number -= quanta / 15 * (totalMinutes - totalMinutes / 10);
    }
    return number;
}

std::optional<TimecodeTrack> timecodeTrackOfTag(const AVFormatContext& format, int trackId,
                                                const FrameRate& rate) {
    const char* text = isContainer(format, "mov") ? nullptr : timecodeTag(format);
    if (text == nullptr || !rate.isKnown()) {
        return std::nullopt;
    }
    const auto quanta = static_cast<std::uint32_t>(
        std::lround(static_cast<double>(rate.numerator) / static_cast<double>(rate.denominator)));
    const auto number = recordedFrameNumber(trimmed(text), quanta);
    if (!number) {
        return std::nullopt;
    }
    FormatDescription description;
    description.mediaType = fourCC("tmcd");
    description.mediaSubType = fourCC("tmcd");
    description.frameQuanta = quanta;
    description.frameDuration = frameDurationOf(rate, quanta);
    description.timecodeFlags = isDropFrameText(trimmed(text)) ? FormatDescription::kDropFrame : 0;

    SampleBuffer sample;
    sample.presentationTime = MediaTime::zero();
    sample.formatDescription = std::make_shared<FormatDescription>(description);
    sample.data.resize(kFrameNumberBytes);
    AV_WB32(sample.data.data(), *number);

    TimecodeTrack result;
    result.track.id = trackId;
    result.track.mediaType = MediaType::kTimecode;
    result.track.formatDescriptions.push_back(description);
    result.samples.push_back(std::move(sample));
    return result;
}

} // namespace fw::libav
