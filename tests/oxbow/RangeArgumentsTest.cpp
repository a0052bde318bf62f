#include "oxbow/RangeArguments.h"
#include "tests/support/SyntheticAsset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fw {
namespace {

class RangeArgumentsTest : public testing::Test {
protected:
    RangeArgumentsTest() {
        asset_.tracks_ = {test::videoTrack(1, 25)};
        asset_.duration_ = MediaTime::make(10, 1);
    }
    RangeArguments resolved(const char* start, const char* end) {
        const auto range = resolvedRange(point(start), point(end), asset_);
        EXPECT_TRUE(range) << (range ? "" : range.error().description);
        return range ? range.value() : RangeArguments{};
    }
    std::string complaint(const char* start, const char* end) {
        const auto range = resolvedRange(point(start), point(end), asset_);
        return range ? "" : range.error().description;
    }
    static std::optional<RangePoint> point(const char* text) {
        return text != nullptr ? parsedRangePoint(text) : std::nullopt;
    }
    test::SyntheticAsset asset_;
};

TEST_F(RangeArgumentsTest, TheWholeMovieIsZeroTo2147483647) {
    const RangeArguments range = resolved(nullptr, nullptr);
    EXPECT_EQ(range.startArgument, 0);
    EXPECT_EQ(range.endArgument, 2147483647);
    EXPECT_TRUE(range.isWholeMovie());
}

TEST_F(RangeArgumentsTest, FramesSecondsAndTimecodesMeanTheSame) {
    for (const auto& [start, end] :
         {std::pair{"50", "100"}, std::pair{"2s", "4s"}, std::pair{"00:00:02:00", "00:00:04:00"},
          std::pair{"1.97s", "100"}}) {
        const RangeArguments range = resolved(start, end);
        EXPECT_EQ(range.startFrame, 50) << start;
        EXPECT_EQ(range.endFrame, 100) << end;
        EXPECT_EQ(range.startArgument, 50) << start;
        EXPECT_EQ(range.endArgument, 100) << end;
        EXPECT_FALSE(range.isWholeMovie());
    }
}

TEST_F(RangeArgumentsTest, ARangeOfHalfRateFramesIsTurnedIntoFrameLengths) {
    asset_.tracks_ = {test::videoTrack(1, 25, 2)};
    const RangeArguments range = resolved("100", "110");
    EXPECT_EQ(range.startFrame, 100);
    EXPECT_EQ(range.startArgument, 103);
    EXPECT_EQ(range.endArgument, 114);
}

TEST_F(RangeArgumentsTest, AnEndBehindTheMovieIsItsEnd) {
    for (const char* end :
         {"250", "1000", "4611686018427387904", "10s", "1000000s", "00:00:10:00"}) {
        const RangeArguments range = resolved(nullptr, end);
        EXPECT_EQ(range.endArgument, kWholeMovieEnd) << end;
        EXPECT_TRUE(range.isWholeMovie()) << end;
    }
}

TEST_F(RangeArgumentsTest, AStartBehindTheMovieIsRefused) {
    for (const char* start : {"250", "4611686018427387904", "10s", "00:00:10:00"}) {
        EXPECT_THAT(complaint(start, nullptr), testing::HasSubstr("249")) << start;
    }
    EXPECT_EQ(complaint("249", nullptr), "");
}

TEST_F(RangeArgumentsTest, AStartThatIsNotBeforeTheEndIsRefused) {
    for (const auto& [start, end] : {std::pair{"100", "100"}, std::pair{"100", "99"},
                                     std::pair{"2s", "50"}, std::pair{"00:00:04:00", "1s"}}) {
        EXPECT_EQ(complaint(start, end), "The start does not lie before the end.") << start;
    }
    EXPECT_EQ(complaint(nullptr, "0"), "The start does not lie before the end.");
}

TEST_F(RangeArgumentsTest, ATimecodeThatTheMovieLacksIsNamedWithThoseItHas) {
    EXPECT_EQ(complaint("01:00:00:00", nullptr),
              "The movie has no timecode 01:00:00:00; it runs from 00:00:00:00 to 00:00:09:24.");
    EXPECT_NE(complaint(nullptr, "00:00:10:01"), "");
}

TEST_F(RangeArgumentsTest, TheStartOfAnEmptyMovieIsNotRefused) {
    asset_.duration_ = MediaTime::zero();
    EXPECT_TRUE(resolved("0", nullptr).isWholeMovie());
    EXPECT_NE(complaint("1", nullptr), "");
}

} // namespace
} // namespace fw
