#include "base/text.h"
#include "media/FWAVFoundation.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace fw {
namespace {

struct CodecName {
    std::string_view compared;
    std::string_view name;
};

/// By the format name, not by the four-character code: 'avc1' stands in quotes there.
constexpr std::array<CodecName, 3> kVideoCodecs = {{
    {"'avc1'", "H.264 (avc1)"},
    {"ap4x", "ProRes 4444 XQ"},
    {"hvc1", "H.265 / HEVC"},
}};

/// By the format identifier as text, which has lost the blanks at its ends: "aac " never matches,
/// so AAC is named "aac". Parents know it by that name.
constexpr std::array<CodecName, 2> kAudioCodecs = {{
    {"lpcm", "Linear PCM"},
    {"aac ", "AAC"},
}};

constexpr const char* kUnknownCodec = "Unknown codec";
constexpr const char* kUnsupportedTrackType = "Unsupported track type";

template <std::size_t Count>
std::string knownNameOr(const std::string& text, const std::array<CodecName, Count>& names) {
    const auto* found = std::find_if(names.begin(), names.end(), [&text](const CodecName& entry) {
        return entry.compared == text;
    });
    return found == names.end() ? text : std::string(found->name);
}

void appendLatin1(std::string& text, std::uint8_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else {
        text += static_cast<char>(0xC0 | (character >> 6));
        text += static_cast<char>(0x80 | (character & 0x3F));
    }
}

} // namespace

bool FWAVFoundation::isReadable(const Asset& asset) {
    if (!asset.isReadable()) {
        return false;
    }
    const std::optional<AssetUrl> url = asset.url();
    if (!url) {
        return true;
    }
    const std::string extension = lowerCased(pathExtension(url->path));
    const std::string scheme = lowerCased(url->scheme);
    const bool isPlaylist = extension == "m3u" || extension == "m3u8";
    const bool isRemote = scheme == "http" || scheme == "https" || scheme == "ftp";
    return !isPlaylist && !isRemote;
}

FourCC FWAVFoundation::fourCCForTrack(const Track& track) {
    return track.formatDescriptions.empty() ? 0 : track.formatDescriptions.front().mediaSubType;
}

std::string FWAVFoundation::fourCCString(FourCC code) {
    std::string text;
    for (const int shift : {24, 16, 8, 0}) {
        appendLatin1(text, static_cast<std::uint8_t>(code >> shift));
    }
    return std::string(trimmedBlanks(text));
}

std::optional<std::string> FWAVFoundation::codecNameForTrack(const Track& track) {
    if (track.mediaType != MediaType::kVideo && track.mediaType != MediaType::kAudio) {
        return kUnsupportedTrackType;
    }
    if (track.formatDescriptions.empty()) {
        return kUnknownCodec;
    }
    const FormatDescription& format = track.formatDescriptions.front();
    if (track.mediaType == MediaType::kAudio) {
        return knownNameOr(fourCCString(format.audioFormatId), kAudioCodecs);
    }
    if (!format.formatName) {
        return std::nullopt;
    }
    return knownNameOr(*format.formatName, kVideoCodecs);
}

} // namespace fw
