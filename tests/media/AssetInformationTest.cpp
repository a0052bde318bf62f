#include "media/FWAVFoundation.h"
#include "tests/support/SyntheticAsset.h"

#include <gtest/gtest.h>

#include <string>

namespace fw {
namespace {

using test::SyntheticAsset;

bool isReadableFrom(const std::string& scheme, const std::string& path) {
    SyntheticAsset asset;
    asset.url_ = AssetUrl{scheme, path};
    return FWAVFoundation::isReadable(asset);
}

Track trackOf(MediaType type) {
    Track track;
    track.mediaType = type;
    return track;
}

Track videoNamed(const std::optional<std::string>& formatName) {
    Track track = trackOf(MediaType::kVideo);
    FormatDescription format;
    format.mediaSubType = fourCC("avc1");
    format.formatName = formatName;
    track.formatDescriptions = {format};
    return track;
}

Track soundOf(FourCC identifier) {
    Track track = trackOf(MediaType::kAudio);
    FormatDescription format;
    format.audioFormatId = identifier;
    track.formatDescriptions = {format};
    return track;
}

TEST(IsReadable, holds_for_a_local_movie_that_is_readable_itself) {
    EXPECT_TRUE(isReadableFrom("file", "/movies/a.mov"));
    EXPECT_TRUE(isReadableFrom("file", "/movies/a"));
    EXPECT_TRUE(isReadableFrom("file", ""));
}

TEST(IsReadable, fails_when_the_asset_itself_is_not_readable) {
    SyntheticAsset asset;
    asset.readable_ = false;
    EXPECT_FALSE(FWAVFoundation::isReadable(asset));
    asset.url_ = std::nullopt;
    EXPECT_FALSE(FWAVFoundation::isReadable(asset));
}

TEST(IsReadable, without_a_url_is_the_assets_own_answer) {
    SyntheticAsset asset;
    asset.url_ = std::nullopt;
    EXPECT_TRUE(FWAVFoundation::isReadable(asset));
}

TEST(IsReadable, fails_for_playlists_in_any_letter_case) {
    for (const char* path : {"/a.m3u", "/a.m3u8", "/a.M3U8", "/a.M3u", "/a.mov.m3u8", "/a.m3u8/"}) {
        EXPECT_FALSE(isReadableFrom("file", path)) << path;
    }
}

TEST(IsReadable, holds_for_extensions_that_only_resemble_a_playlists) {
    for (const char* path :
         {"/a.m3u9", "/am3u8", "/.m3u8", "/m3u8", "/a.m3u8.mov", "/b.m3u/a.mov"}) {
        EXPECT_TRUE(isReadableFrom("file", path)) << path;
    }
}

TEST(IsReadable, fails_for_remote_movies_in_any_letter_case) {
    for (const char* scheme : {"http", "https", "ftp", "HTTPS", "Http", "FTP"}) {
        EXPECT_FALSE(isReadableFrom(scheme, "/a.mov")) << scheme;
    }
}

TEST(IsReadable, holds_for_every_other_scheme) {
    for (const char* scheme : {"", "FILE", "sftp", "ftps", "rtsp", "httpx", " http"}) {
        EXPECT_TRUE(isReadableFrom(scheme, "/a.mov")) << scheme;
    }
}

TEST(FourCCForTrack, is_the_subtype_of_the_first_description) {
    Track track = videoNamed(std::nullopt);
    FormatDescription second;
    second.mediaSubType = fourCC("hvc1");
    track.formatDescriptions.push_back(second);
    EXPECT_EQ(FWAVFoundation::fourCCForTrack(track), 1635148593U);
}

TEST(FourCCForTrack, is_zero_without_a_description) {
    EXPECT_EQ(FWAVFoundation::fourCCForTrack(trackOf(MediaType::kVideo)), 0U);
}

TEST(FourCCString, is_the_four_characters) {
    EXPECT_EQ(FWAVFoundation::fourCCString(fourCC("lpcm")), "lpcm");
    EXPECT_EQ(FWAVFoundation::fourCCString(1635148593U), "avc1");
}

TEST(FourCCString, loses_blanks_and_tabs_at_both_ends) {
    EXPECT_EQ(FWAVFoundation::fourCCString(fourCC("aac ")), "aac");
    EXPECT_EQ(FWAVFoundation::fourCCString(fourCC(" a\t ")), "a");
    EXPECT_EQ(FWAVFoundation::fourCCString(fourCC("a  b")), "a  b");
    EXPECT_EQ(FWAVFoundation::fourCCString(fourCC("    ")), "");
}

TEST(FourCCString, keeps_line_ends) {
    EXPECT_EQ(FWAVFoundation::fourCCString(fourCC("ab\n ")), "ab\n");
}

TEST(FourCCString, keeps_a_zero_byte_as_a_character) {
    EXPECT_EQ(FWAVFoundation::fourCCString(0x61620063), std::string("ab\0c", 4));
    EXPECT_EQ(FWAVFoundation::fourCCString(0), std::string(4, '\0'));
    EXPECT_EQ(FWAVFoundation::fourCCString(0x61626300), std::string("abc\0", 4));
}

TEST(FourCCString, takes_a_byte_above_127_for_the_latin_1_character) {
    EXPECT_EQ(FWAVFoundation::fourCCString(0xA978797A), "\xC2\xA9xyz");
    EXPECT_EQ(FWAVFoundation::fourCCString(0x80BFC0FF), "\xC2\x80\xC2\xBF\xC3\x80\xC3\xBF");
}

TEST(CodecNameForTrack, names_three_video_formats_by_their_format_name) {
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(videoNamed("'avc1'")), "H.264 (avc1)");
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(videoNamed("ap4x")), "ProRes 4444 XQ");
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(videoNamed("hvc1")), "H.265 / HEVC");
}

TEST(CodecNameForTrack, gives_every_other_format_name_as_it_is) {
    for (const char* name : {"avc1", "'hvc1'", "AP4X", "Apple ProRes 422", "", "hvc1 "}) {
        EXPECT_EQ(FWAVFoundation::codecNameForTrack(videoNamed(name)), name);
    }
}

TEST(CodecNameForTrack, is_absent_for_video_without_a_format_name) {
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(videoNamed(std::nullopt)), std::nullopt);
}

TEST(CodecNameForTrack, asks_the_first_description_only) {
    Track track = videoNamed("first");
    track.formatDescriptions.push_back(videoNamed("hvc1").formatDescriptions.front());
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(track), "first");
}

TEST(CodecNameForTrack, names_linear_pcm) {
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(soundOf(fourCC("lpcm"))), "Linear PCM");
}

TEST(CodecNameForTrack, names_aac_by_its_trimmed_code) {
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(soundOf(fourCC("aac "))), "aac");
}

TEST(CodecNameForTrack, gives_every_other_sound_format_as_its_code) {
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(soundOf(fourCC("ac-3"))), "ac-3");
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(soundOf(fourCC("LPCM"))), "LPCM");
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(soundOf(0)), std::string(4, '\0'));
}

TEST(CodecNameForTrack, does_not_know_a_codec_without_a_description) {
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(trackOf(MediaType::kVideo)), "Unknown codec");
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(trackOf(MediaType::kAudio)), "Unknown codec");
}

TEST(CodecNameForTrack, supports_no_other_kind_of_track) {
    const Track timecode = test::timecodeTrack(1, 25, 1, 25, 0, fourCC("tmcd"));
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(timecode), "Unsupported track type");
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(trackOf(MediaType::kOther)),
              "Unsupported track type");
}

} // namespace
} // namespace fw
