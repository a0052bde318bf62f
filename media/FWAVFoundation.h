#pragma once

#include "media/Asset.h"
#include "media/FourCC.h"
#include "media/MediaTime.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fw {

/// Whether a counter track, too, is read as timecode, or its number given as it is.
enum class AssumeTCOnly : bool { kNo, kYes };
enum class DropFrame : bool { kNo, kYes };

/// What a movie says about its rate, its timecode and its codecs. Nothing fails: absent data has
/// the stated fall-back, and so has a reader that throws. Stateless; safe from any thread. Every
/// call asks the asset anew.
///
/// Its operations stand in AssetTiming.cpp (rates, lengths, counts), AssetTimecode.cpp (start
/// timecode, timecode and time), AssetInformation.cpp (readability, codec names) and
/// AssetWaveform.cpp.
class FWAVFoundation {
public:
    FWAVFoundation() = delete;

    /// Frames a second: of the timecode track when it carries a frame duration, else the nominal
    /// rate of the video track, else 29.97.
    static double fpsForAsset(const Asset& asset);
    /// 0.0 when the asset is not readable or no description has a frame duration.
    static double fpsFromTimecodeForAsset(const Asset& asset, const Track& timecodeTrack);
    /// 1000 / (1000 x fps) seconds for whole rates, 1001 / (1000 x the next whole rate) for others.
    static MediaTime frameLengthForFPS(double fps);
    static MediaTime frameLengthForAsset(const Asset& asset);
    /// seconds x fps, rounded to four decimals and then cut; 0 for a time that is not a number.
    static std::uint64_t framesAtTime(const MediaTime& time, double fps);
    /// A null asset has no frames.
    static std::uint64_t frameDurationForAsset(const Asset* asset);
    /// The frame length times the low 32 bits of the count, taken as signed.
    static MediaTime timeFromFrameCount(std::uint64_t frameCount, double fps);
    static bool isDropFrame(const Asset& asset);

    /// The timecode of the first frame as the timecode track records it; the default when there is
    /// no track, no usable sample or the asset is not readable.
    static std::optional<std::string>
    timecodeStartForAsset(const Asset& asset, const std::optional<std::string>& defaultStart);
    static std::optional<std::string>
    timecodeStartForAsset(const Asset& asset, const std::optional<std::string>& defaultStart,
                          AssumeTCOnly assumeTCOnly);
    static std::optional<std::string>
    timecodeStartForAsset(const Asset& asset, const Track& timecodeTrack,
                          const std::optional<std::string>& defaultStart);
    static std::optional<std::string>
    timecodeStartForAsset(const Asset& asset, const Track& timecodeTrack,
                          const std::optional<std::string>& defaultStart,
                          AssumeTCOnly assumeTCOnly);

    /// Always text; a time below zero counts as zero.
    static std::string timecodeAtTime(const MediaTime& time, const Asset& asset);
    static std::string timecodeAtTime(const MediaTime& time, const Asset& asset,
                                      const std::optional<std::string>& defaultStart);
    static std::string timecodeForAsset(const Asset& asset, const MediaTime& time,
                                        const std::optional<std::string>& startPoint);
    static std::string timecodeForAsset(const Asset& asset, const MediaTime& time,
                                        const std::optional<std::string>& startPoint,
                                        DropFrame dropFrame);
    static MediaTime timeFromTimecode(const std::string& timecode, const Asset& asset);

    /// Whether the asset may be read as a local movie: no playlist, nothing remote.
    static bool isReadable(const Asset& asset);
    /// 0 when the track has no format description.
    static FourCC fourCCForTrack(const Track& track);
    /// The four bytes as characters (a byte above 127 is that Latin-1 character), blanks at both
    /// ends removed; a zero byte stays.
    static std::string fourCCString(FourCC code);
    /// Absent only for a video track whose description has no format name.
    static std::optional<std::string> codecNameForTrack(const Track& track);

    /// The waveform of the first sound track: 50 points a second, each a 32-bit float in the
    /// machine's byte order and nothing between them. A point is the size of the mean of its
    /// samples, 0 to 32768 (see WaveformBuilder.h). Of stereo sound the left channel counts. What
    /// is left over at the end makes no point, so short sound gives an empty waveform. Nothing
    /// when the asset is not readable, has no sound or cannot be decoded to its end.
    ///
    /// The whole track is decoded once, a buffer at a time, on the calling thread.
    static std::optional<std::vector<std::byte>> waveformDataForAsset(const Asset& asset);
    /// The same; when there is a waveform its largest point is stored at `normalizeMax`, which may
    /// be null: -90 when it has no point.
    static std::optional<std::vector<std::byte>> waveformDataForAsset(const Asset& asset,
                                                                      float* normalizeMax);
};

} // namespace fw
