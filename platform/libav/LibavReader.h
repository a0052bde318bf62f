#pragma once

#include "media/AssetReader.h"
#include "platform/libav/AudioReader.h"
#include "platform/libav/FrameConverter.h"
#include "platform/libav/PictureDecoder.h"
#include "platform/libav/TimecodeTracks.h"

#include <memory>
#include <optional>
#include <vector>

namespace fw::libav {

/// Reads decoded frames of a video track, decoded sound, or the stored samples of a timecode track.
class LibavReader final : public AssetReader {
public:
    LibavReader(std::shared_ptr<ContainerSource> source, int decodeThreads,
                const MediaTime& movieEnd,
                std::shared_ptr<const std::vector<TimecodeTrack>> timecodeTracks);

    void setTimeRange(const MediaTimeRange& range) override;
    void addOutput(const Track& track, const OutputSettings& settings) override;
    bool startReading() override;
    Status status() const override { return status_; }
    std::optional<Error> error() const override { return error_; }
    std::optional<SampleBuffer> copyNextSampleBuffer() override;
    void cancelReading() override;

private:
    bool startTimecode();
    bool startAudio();
    bool startVideo(const VideoFrames& settings);
    bool openDecoder();
    bool moveToStart();
    std::optional<PictureDecoder::Frame> nextInRange();
    std::optional<SampleBuffer> nextFrame();
    std::optional<SampleBuffer> nextAudio();
    std::optional<SampleBuffer> nextTimecodeSample();
    bool fail(const Error& error);
    void end();

    std::shared_ptr<ContainerSource> source_;
    int decodeThreads_;
    MediaTime movieEnd_;
    std::shared_ptr<const std::vector<TimecodeTrack>> timecodeTracks_;

    MediaTime start_ = MediaTime::zero();
    MediaTime end_ = MediaTime::positiveInfinity();
    std::optional<Track> track_;
    OutputSettings settings_;
    Status status_ = Status::kUnknown;
    std::optional<Error> error_;

    std::unique_ptr<PictureDecoder> decoder_;
    std::unique_ptr<FrameConverter> converter_;
    /// The frame that moveToStart met; it is handed over first.
    std::optional<PictureDecoder::Frame> met_;
    std::int64_t framesBeyondEnd_ = 0;
    std::shared_ptr<const FormatDescription> formatDescription_;

    std::unique_ptr<AudioReader> audio_;

    std::vector<SampleBuffer> timecodeSamples_;
    std::size_t nextTimecodeSample_ = 0;
};

} // namespace fw::libav
