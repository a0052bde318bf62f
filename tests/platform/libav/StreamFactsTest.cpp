// What is read off single streams, for movies that no program here can make.

#include "platform/libav/StreamTiming.h"
#include "platform/libav/TrackDescription.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/dict.h>
}

#include <limits>
#include <memory>

namespace fw::libav {
namespace {

/// A format with one video stream that ticks in milliseconds.
class OneStream : public testing::Test {
protected:
    OneStream() : format_(avformat_alloc_context()) {
        format_->iformat = av_find_input_format("matroska");
        stream_ = avformat_new_stream(format_.get(), nullptr);
        stream_->time_base = {1, 1000};
        stream_->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    }

    /// Nothing was opened, so nothing is closed.
    struct Free {
        void operator()(AVFormatContext* format) const { avformat_free_context(format); }
    };

    std::unique_ptr<AVFormatContext, Free> format_;
    AVStream* stream_;
};

TEST_F(OneStream, IsEncryptedWhenMatroskaNamesAKey) {
    EXPECT_FALSE(isEncrypted(*stream_, {}));
    av_dict_set(&stream_->metadata, "enc_key_id", "q6i0", 0);
    EXPECT_TRUE(isEncrypted(*stream_, {}));
}

TEST_F(OneStream, IsEncryptedWhenItsSampleEntryIsAProtectedOne) {
    stream_->id = 3;
    EXPECT_FALSE(isEncrypted(*stream_, {{3, fourCC("avc1"), {}}, {4, fourCC("encv"), {}}}));
    for (const FourCC code : {fourCC("encv"), fourCC("enca"), fourCC("drmi"), fourCC("drms")}) {
        EXPECT_TRUE(isEncrypted(*stream_, {{3, code, {}}}));
    }
}

TEST_F(OneStream, HoldsTimestampsOfTimesBeyondItsClock) {
    const StreamTiming timing(*format_, *stream_);
    EXPECT_EQ(timing.timestampAt(MediaTime::make(3, 2)), 1500);
    EXPECT_EQ(timing.timestampAt(MediaTime::make(std::int64_t{1} << 62, 1)),
              std::numeric_limits<std::int64_t>::max());
}

TEST_F(OneStream, HoldsAnAbsurdStatedEnd) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    stream_->duration = 1500;
    EXPECT_EQ(statedEnd(*format_, *stream_), MediaTime::make(1500, 1000));
    stream_->duration = kMost;
    EXPECT_EQ(statedEnd(*format_, *stream_), MediaTime::make(kMost, 1000));
    stream_->start_time = 5;
    EXPECT_EQ(statedEnd(*format_, *stream_), MediaTime::make(kMost, 1000));
    stream_->time_base = {1001, 30000};
    EXPECT_EQ(statedEnd(*format_, *stream_), MediaTime::make(kMost / 1001 * 1001, 30000));
    format_->iformat = av_find_input_format("mov");
    EXPECT_EQ(statedEnd(*format_, *stream_), MediaTime::make(kMost / 1001 * 1001, 30000));
}

TEST_F(OneStream, HoldsTimesBeforeItsClock) {
    format_->start_time = AV_TIME_BASE;
    stream_->start_time = 1000;
    const StreamTiming timing(*format_, *stream_);
    EXPECT_EQ(timing.timeAt(1500), MediaTime::make(500, 1000));
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(timing.timeAt(kLeast + 1), MediaTime::make(kLeast, 1000));
}

TEST_F(OneStream, WithoutARateHasFramesOfOneTick) {
    const StreamTiming timing(*format_, *stream_);
    EXPECT_FALSE(timing.rate().isKnown());
    EXPECT_EQ(timing.frameTicks(), 1);
}

} // namespace
} // namespace fw::libav
