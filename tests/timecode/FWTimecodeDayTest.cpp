#include "timecode/FWTimecode.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

// Every frame of a day against a plain reference, which counts in whole numbers and walks through
// the day minute by minute where the code divides doubles.

namespace fw {
namespace {

constexpr std::uint64_t kSecondsPerDay = 86400;

void appendTwoDigits(std::string& text, std::uint64_t value) {
    text += static_cast<char>('0' + value / 10);
    text += static_cast<char>('0' + value % 10);
}

/// The fields of a clock at a whole rate below 100.
class Clock {
public:
    explicit Clock(std::uint64_t rate) : rate_(rate) {}

    void advance(std::uint64_t frames) {
        frame_ += frames;
        while (frame_ >= rate_) {
            frame_ -= rate_;
            tick();
        }
    }

    void goBack(std::uint64_t frames) {
        for (; frames > 0; --frames) {
            if (frame_ == 0) {
                frame_ = rate_;
                tickBack();
            }
            --frame_;
        }
    }

    std::string text(char separator) const {
        std::string text;
        appendTwoDigits(text, hour_);
        text += ':';
        appendTwoDigits(text, minute_);
        text += ':';
        appendTwoDigits(text, second_);
        text += separator;
        appendTwoDigits(text, frame_);
        return text;
    }

private:
    void tick() {
        if (++second_ == 60) {
            second_ = 0;
            if (++minute_ == 60) {
                minute_ = 0;
                hour_ = (hour_ + 1) % 24;
            }
        }
    }

    void tickBack() {
        if (second_-- == 0) {
            second_ = 59;
            if (minute_-- == 0) {
                minute_ = 59;
                hour_ = (hour_ + 23) % 24;
            }
        }
    }

    std::uint64_t rate_;
    std::uint64_t hour_ = 0;
    std::uint64_t minute_ = 0;
    std::uint64_t second_ = 0;
    std::uint64_t frame_ = 0;
};

/// Walks through the frames of a day and knows by how many numbers the counting is ahead.
///
/// A block has 600 x rate frames. In it, whenever a minute less its dropped numbers has gone by,
/// `dropped` numbers are left out; the first minute of a block is whole. A block loses 9 x dropped
/// for good: the tenth loss near its end is taken back where the next block begins.
class DropFrameWalk {
public:
    DropFrameWalk(std::uint64_t rate, std::uint64_t dropped) : rate_(rate), dropped_(dropped) {
        beginBlock();
    }

    /// To the next frame; how far the number moves (it moves back where a block begins).
    std::int64_t step() {
        const std::uint64_t before = number();
        ++frame_;
        if (--leftInBlock_ == 0) {
            lostBefore_ += 9 * dropped_;
            beginBlock();
        } else if (--leftInMinute_ == 0) {
            lostInBlock_ += dropped_;
            leftInMinute_ = rate_ * 60 - dropped_;
        }
        return static_cast<std::int64_t>(number() - before);
    }

    std::uint64_t number() const { return frame_ + lostBefore_ + lostInBlock_; }

private:
    void beginBlock() {
        leftInBlock_ = rate_ * 600;
        leftInMinute_ = rate_ * 60;
        lostInBlock_ = 0;
    }

    std::uint64_t rate_;
    std::uint64_t dropped_;
    std::uint64_t frame_ = 0;
    std::uint64_t lostBefore_ = 0;
    std::uint64_t lostInBlock_ = 0;
    std::uint64_t leftInBlock_ = 0;
    std::uint64_t leftInMinute_ = 0;
};

/// The numbers lost before a frame, found anew for one frame.
std::uint64_t lostBefore(std::uint64_t frame, std::uint64_t rate, std::uint64_t dropped) {
    std::uint64_t lost = 0;
    const std::uint64_t block = rate * 600;
    for (; frame >= block; frame -= block) {
        lost += 9 * dropped;
    }
    for (std::uint64_t end = rate * 60; end <= frame; end += rate * 60 - dropped) {
        lost += dropped;
    }
    return lost;
}

/// The frame that a number is read as: the numbers lost before it are taken off, and added again
/// are those lost before as many frames.
std::uint64_t frameOfNumber(std::uint64_t number, std::uint64_t rate, std::uint64_t dropped) {
    const std::uint64_t lost = lostBefore(number, rate, dropped);
    return number - lost + lostBefore(lost, rate, dropped);
}

struct Rate {
    std::uint64_t framesPerSecond;
    std::uint64_t dropped;
};

class Day : public testing::TestWithParam<Rate> {
protected:
    const std::uint64_t rate_ = GetParam().framesPerSecond;
    const std::uint64_t dropped_ = GetParam().dropped;
    const std::uint64_t frames_ = kSecondsPerDay * rate_;

    std::string text(std::uint64_t frame, bool dropFrame) const {
        return FWTimecode::timecodeFromFrameCount(frame, static_cast<std::int64_t>(rate_), false,
                                                  dropFrame, 0);
    }
    std::uint64_t count(const std::string& timecode, bool dropFrame) const {
        return FWTimecode::frameCountFromTimecode(timecode, static_cast<std::int64_t>(rate_), false,
                                                  dropFrame, 0);
    }
};

TEST_P(Day, without_drop_frame_is_written_like_a_clock_and_comes_back) {
    Clock clock(rate_);
    for (std::uint64_t frame = 0; frame < frames_; ++frame) {
        const std::string timecode = text(frame, false);
        ASSERT_EQ(timecode, clock.text(':')) << frame;
        ASSERT_EQ(count(timecode, false), frame);
        clock.advance(1);
    }
    EXPECT_EQ(text(frames_, false), "00:00:00:00");
}

TEST_P(Day, with_drop_frame_is_written_and_read_as_the_reference_says) {
    Clock clock(rate_);
    DropFrameWalk walk(rate_, dropped_);
    for (std::uint64_t frame = 0; frame < frames_; ++frame) {
        const std::string timecode = text(frame, true);
        ASSERT_EQ(timecode, clock.text(';')) << frame;
        ASSERT_EQ(count(timecode, true), frameOfNumber(walk.number() % frames_, rate_, dropped_))
            << timecode;
        const std::int64_t moved = walk.step();
        if (moved >= 0) {
            clock.advance(static_cast<std::uint64_t>(moved));
        } else {
            clock.goBack(static_cast<std::uint64_t>(-moved));
        }
    }
}

TEST_P(Day, of_elapsed_time_is_written_like_a_clock_and_comes_back) {
    Clock clock(rate_);
    const auto fps = static_cast<double>(rate_);
    for (std::uint64_t frame = 0; frame < frames_; frame += 7) {
        const std::string elapsed = FWTimecode::elapsedTimeFromFrameCount(frame, fps);
        ASSERT_EQ(elapsed, clock.text(':')) << frame;
        ASSERT_EQ(FWTimecode::frameCountFromElapsedTime(elapsed, fps), frame);
        clock.advance(7);
    }
}

INSTANTIATE_TEST_SUITE_P(AtTheUsualRates, Day,
                         testing::Values(Rate{24, 2}, Rate{25, 2}, Rate{30, 2}, Rate{60, 4}),
                         [](const testing::TestParamInfo<Rate>& rate) {
                             return std::to_string(rate.param.framesPerSecond);
                         });

} // namespace
} // namespace fw
