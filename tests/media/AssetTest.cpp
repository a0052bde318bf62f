#include "media/FourCC.h"
#include "tests/support/SyntheticAsset.h"

#include <gtest/gtest.h>

namespace fw {
namespace {

using test::SyntheticAsset;

TEST(FourCCCode, has_its_first_character_in_the_most_significant_byte) {
    EXPECT_EQ(fourCC("avc1"), 1635148593U);
    EXPECT_EQ(fourCC("tmcd"), 0x746D6364U);
    EXPECT_EQ(fourCC("\xA9xyz"), 0xA978797AU);
}

TEST(AssetTracks, of_a_kind_come_in_the_order_of_the_movie) {
    SyntheticAsset asset;
    asset.tracks_ = {test::timecodeTrack(1, 25, 1, 25, 0, fourCC("tmcd")), test::videoTrack(2, 25),
                     test::timecodeTrack(3, 30, 1, 30, 0, fourCC("tmcd")), test::videoTrack(4, 30)};
    const std::vector<const Track*> video = asset.tracksWithMediaType(MediaType::kVideo);
    ASSERT_EQ(video.size(), 2U);
    EXPECT_EQ(video[0]->id, 2);
    EXPECT_EQ(video[1]->id, 4);
    ASSERT_NE(asset.firstTrack(MediaType::kTimecode), nullptr);
    EXPECT_EQ(asset.firstTrack(MediaType::kTimecode)->id, 1);
}

TEST(AssetTracks, of_an_absent_kind_are_none) {
    SyntheticAsset asset;
    asset.tracks_ = {test::videoTrack(1, 25)};
    EXPECT_TRUE(asset.tracksWithMediaType(MediaType::kAudio).empty());
    EXPECT_EQ(asset.firstTrack(MediaType::kAudio), nullptr);
}

} // namespace
} // namespace fw
