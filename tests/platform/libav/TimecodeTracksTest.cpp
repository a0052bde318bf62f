#include "platform/libav/TimecodeTracks.h"

#include "media/FWAVFoundation.h"
#include "platform/libav/LibavAsset.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestMovie.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace fw {
namespace {

using test::makeNumberedMovie;
using test::TemporaryFolder;

class TimecodeOfMovie : public testing::Test {
protected:
    std::shared_ptr<const Asset> make(const std::string& name, const std::string& rate,
                                      const std::string& timecode,
                                      const std::string& codec = "mpeg2video") {
        makeNumberedMovie(folder_.file(name), 24, rate, {"-c:v", codec, "-timecode", timecode});
        return openLibavAsset(folder_.file(name));
    }
    static std::string start(const Asset& asset) {
        return FWAVFoundation::timecodeStartForAsset(asset, "none").value();
    }
    static const FormatDescription& format(const Asset& asset) {
        return asset.firstTrack(MediaType::kTimecode)->formatDescriptions.front();
    }

    TemporaryFolder folder_;
};

TEST_F(TimecodeOfMovie, isReadFromAQuickTimeTrack) {
    for (const char* name : {"a.mov", "a.mp4"}) {
        const auto asset = make(name, "25:1", "10:20:30:12");
        ASSERT_NE(asset->firstTrack(MediaType::kTimecode), nullptr) << name;
        EXPECT_EQ(start(*asset), "10:20:30:12");
        EXPECT_EQ(format(*asset).frameQuanta, 25U);
        EXPECT_EQ(format(*asset).mediaSubType, fourCC("tmcd"));
        EXPECT_FALSE(FWAVFoundation::isDropFrame(*asset));
        EXPECT_EQ(FWAVFoundation::fpsForAsset(*asset), 25.0);
    }
}

TEST_F(TimecodeOfMovie, hasTheRateAndFlagsOfItsTrack) {
    const auto asset = make("a.mov", "30000:1001", "01:00:00;00");
    EXPECT_TRUE(FWAVFoundation::isDropFrame(*asset));
    EXPECT_EQ(format(*asset).frameQuanta, 30U);
    EXPECT_EQ(format(*asset).frameDuration, MediaTime::make(1001, 30000));
    EXPECT_EQ(start(*asset), "01:00:00;00");
    EXPECT_DOUBLE_EQ(FWAVFoundation::fpsForAsset(*asset), 30000.0 / 1001.0);
    EXPECT_EQ(FWAVFoundation::codecNameForTrack(*asset->firstTrack(MediaType::kTimecode)),
              "Unsupported track type");
}

TEST_F(TimecodeOfMovie, isANumberForACounterTrack) {
    make("a.mov", "25:1", "00:00:12:00");
    std::ifstream in(folder_.file("a.mov"), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), {});
    in.close();
    // Only the sample entry's type is patched: the text stands in other boxes, too.
    const std::size_t table = bytes.rfind("stsd", bytes.rfind("tmcd"));
    bytes.replace(bytes.find("tmcd", table), 4, "cn32");
    std::ofstream(folder_.file("b.mov"), std::ios::binary) << bytes;
    const auto asset = openLibavAsset(folder_.file("b.mov"));
    ASSERT_NE(asset->firstTrack(MediaType::kTimecode), nullptr);
    EXPECT_EQ(format(*asset).mediaSubType, fourCC("cn32"));
    EXPECT_EQ(format(*asset).frameQuanta, 25U);
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(*asset, "none", AssumeTCOnly::kNo), "300");
    EXPECT_EQ(FWAVFoundation::timecodeStartForAsset(*asset, "none", AssumeTCOnly::kYes),
              "00:00:12:00");
}

TEST_F(TimecodeOfMovie, isPresentedAsATrackWhereTheContainerCarriesATag) {
    for (const char* name : {"a.mxf", "a.mkv", "a.avi"}) {
        const auto asset = make(name, "25:1", "10:00:00:05");
        ASSERT_NE(asset->firstTrack(MediaType::kTimecode), nullptr) << name;
        EXPECT_EQ(start(*asset), "10:00:00:05") << name;
        EXPECT_EQ(format(*asset).frameDuration, MediaTime::make(1, 25)) << name;
        EXPECT_EQ(FWAVFoundation::fpsForAsset(*asset), 25.0) << name;
    }
}

TEST_F(TimecodeOfMovie, countsATaggedDropFrameStartAsARecorderStoresIt) {
    const auto asset = make("a.mxf", "30000:1001", "01:00:00;00");
    ASSERT_NE(asset->firstTrack(MediaType::kTimecode), nullptr);
    EXPECT_TRUE(FWAVFoundation::isDropFrame(*asset));
    EXPECT_EQ(format(*asset).frameDuration, MediaTime::make(1001, 30000));
    EXPECT_EQ(start(*asset), "01:00:00;00"); // From the stored count 107892.
}

TEST_F(TimecodeOfMovie, isAbsentWithoutATrackOrATag) {
    makeNumberedMovie(folder_.file("a.mkv"), 5, "25:1", {"-c:v", "libx264"});
    const auto asset = openLibavAsset(folder_.file("a.mkv"));
    EXPECT_EQ(asset->firstTrack(MediaType::kTimecode), nullptr);
    EXPECT_EQ(start(*asset), "none");
}

TEST(RecordedFrameNumber, countsAsStandardTimecodeDoes) {
    using libav::recordedFrameNumber;
    EXPECT_EQ(recordedFrameNumber("01:00:00:00", 25), 90000U);
    EXPECT_EQ(recordedFrameNumber("01:00:00:00", 30), 108000U);
    EXPECT_EQ(recordedFrameNumber("01:00:00;00", 30), 107892U);
    EXPECT_EQ(recordedFrameNumber("01:00:00.00", 30), 107892U);
    EXPECT_EQ(recordedFrameNumber("00:01:00;02", 30), 1800U);
    EXPECT_EQ(recordedFrameNumber("00:10:00;00", 30), 17982U);
    EXPECT_EQ(recordedFrameNumber("01:00:00;00", 60), 215784U);
    EXPECT_EQ(recordedFrameNumber("01:00:00;00", 25), 90000U) << "25 drops nothing";
}

TEST(RecordedFrameNumber, refusesWhatIsNoTimecode) {
    using libav::recordedFrameNumber;
    EXPECT_FALSE(recordedFrameNumber("", 25));
    EXPECT_FALSE(recordedFrameNumber("01:00:00", 25));
    EXPECT_FALSE(recordedFrameNumber("01:00:00:00:00", 25));
    EXPECT_FALSE(recordedFrameNumber("01:60:00:00", 25));
    EXPECT_FALSE(recordedFrameNumber("01:00:60:00", 25));
    EXPECT_FALSE(recordedFrameNumber("01:00:00:25", 25));
    EXPECT_FALSE(recordedFrameNumber("01:00:0x:00", 25));
    EXPECT_FALSE(recordedFrameNumber("-1:00:00:00", 25));
    EXPECT_FALSE(recordedFrameNumber("01:00:00:00", 0));
}

} // namespace
} // namespace fw
