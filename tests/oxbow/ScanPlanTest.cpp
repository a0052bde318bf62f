#include "oxbow/ScanPlan.h"
#include "tests/support/SyntheticAsset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fw {
namespace {

using testing::ElementsAre;

class ScanPlanTest : public testing::Test {
protected:
    ScanPlanTest() {
        asset_.tracks_ = {test::videoTrack(1, 25)};
        asset_.tracks_[0].bitsPerComponent = 8;
        asset_.tracks_[0].frameCount = 250;
        asset_.duration_ = MediaTime::make(10, 1);
        settings_.movie = "movie.mov";
    }
    ScanPlan planned() {
        const auto plan = plannedScan(settings_, asset_);
        EXPECT_TRUE(plan) << (plan ? "" : plan.error().description);
        return plan ? plan.value() : ScanPlan{};
    }
    test::SyntheticAsset asset_;
    ScanSettings settings_;
};

TEST_F(ScanPlanTest, ThirteenArgumentsInTheScannersOrder) {
    EXPECT_THAT(scannerArguments(planned()),
                ElementsAre("movie.mov", "0", "2147483647", "0", "1", "16", "235", "8", "1", "4",
                            "5", "0", "1"));
}

TEST_F(ScanPlanTest, EverySettingHasItsArgument) {
    settings_.movie = "a b@%.mov";
    settings_.start = FramePoint{10};
    settings_.end = FramePoint{20};
    settings_.depth = 10;
    settings_.black = 60;
    settings_.white = 950;
    settings_.checksLuma = false;
    settings_.checksFlashes = false;
    settings_.flashLength = 7;
    settings_.flashSensitivity = 9;
    settings_.aspectRatio = 2.39;
    EXPECT_THAT(scannerArguments(planned()), ElementsAre("a b@%.mov", "10", "20", "0", "0", "60",
                                                         "950", "10", "0", "7", "9", "1", "2.39"));
}

TEST_F(ScanPlanTest, AutoTakesTenBitsForMoreThanEight) {
    for (const auto& [bits, depth] : {std::pair{0, 8}, std::pair{8, 8}, std::pair{9, 10},
                                      std::pair{10, 10}, std::pair{16, 10}}) {
        asset_.tracks_[0].bitsPerComponent = bits;
        EXPECT_EQ(planned().depth, depth) << bits;
    }
    settings_.depth = 8;
    EXPECT_EQ(planned().depth, 8);
}

TEST_F(ScanPlanTest, LevelsFollowTheDepth) {
    settings_.depth = 10;
    EXPECT_EQ(planned().black, 64);
    EXPECT_EQ(planned().white, 940);
    settings_.black = 40;
    EXPECT_EQ(planned().black, 40);
}

TEST_F(ScanPlanTest, LevelsThatTheDepthDoesNotHaveAreRefused) {
    settings_.white = 256;
    EXPECT_FALSE(plannedScan(settings_, asset_));
    settings_.depth = 10;
    EXPECT_TRUE(plannedScan(settings_, asset_));
    settings_.black = 256;
    EXPECT_FALSE(plannedScan(settings_, asset_)) << "black is not below white";
}

TEST_F(ScanPlanTest, TheContainersCountIsExpectedOfAWholeMovieOnly) {
    EXPECT_EQ(planned().expectedFrames, 250);
    settings_.end = FramePoint{250};
    EXPECT_EQ(planned().expectedFrames, 250) << "that is the whole movie, too";
    settings_.end = FramePoint{249};
    EXPECT_EQ(planned().expectedFrames, std::nullopt);
    EXPECT_EQ(planned().estimatedFrames, 249);
    settings_.end.reset();
    settings_.start = FramePoint{1};
    EXPECT_EQ(planned().expectedFrames, std::nullopt);
    EXPECT_EQ(planned().estimatedFrames, 249);
}

TEST_F(ScanPlanTest, WithoutACountNothingIsExpectedButProgressHasAnEstimate) {
    asset_.tracks_[0].frameCount.reset();
    EXPECT_EQ(planned().expectedFrames, std::nullopt);
    EXPECT_EQ(planned().estimatedFrames, 250);
}

TEST_F(ScanPlanTest, AMovieWithoutVideoIsPlannedToo) {
    asset_.tracks_.clear();
    const ScanPlan plan = planned();
    EXPECT_EQ(plan.depth, 8);
    EXPECT_EQ(plan.expectedFrames, std::nullopt);
    EXPECT_EQ(plan.estimatedFrames, 0);
}

} // namespace
} // namespace fw
