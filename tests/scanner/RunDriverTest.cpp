#include "scanner/RunDriver.h"
#include "tests/scanner/ParentRecord.h"
#include "tests/scanner/ScanMovie.h"
#include "tests/support/SystemLogCapture.h"
#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <cmath>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>

namespace fw {
namespace {

using test::cleanMovie;
using test::frame8;
using test::movieOf;
using test::ParentRecord;
using testing::ElementsAre;
using testing::IsEmpty;

using Frames = std::vector<std::shared_ptr<PixelBuffer>>;
using Lines = std::vector<std::string>;

constexpr const char* kBadCount = "ERR:Invalid argument count\n";
constexpr const char* kNoFile =
    "ERR:Unable to locate file. The macOS sandbox may be preventing access.\n";
constexpr const char* kNoMovie = "ERR:Unable to load movie. This codec may not be supported.\n";

constexpr const char* kBlackFrame = "[Blacks too low - 0 (256, 50.00%)]";

class RunDriverTest : public testing::Test {
protected:
    RunDriverTest() {
        std::ofstream(path) << "a movie";
        services.openAsset = [this](const std::string& opened) {
            openedPaths.push_back(opened);
            steps.push_back("open");
            return movie;
        };
        services.findConnection = parent.finder();
        services.diagnostics = {[this] { steps.push_back("start"); },
                                [this] { steps.push_back("finish log"); },
                                [this] {
                                    steps.push_back("stop bug reporter");
                                }};
        services.pause = [this](std::chrono::milliseconds length) {
            pauses.push_back(length);
            std::this_thread::yield();
        };
    }

    /// The program's path and thirteen arguments: the whole movie, luma only.
    Lines fullArguments() const {
        return {"OxbowGlint", path, "0", "2147483647", "0", "1", "16",
                "235",        "8",  "0", "4",          "5", "0", "1.78"};
    }
    Lines argumentsWith(std::size_t index, const std::string& value) const {
        Lines arguments = fullArguments();
        arguments.at(index) = value;
        return arguments;
    }

    int run(const Lines& arguments) {
        parent.events.clear();
        steps.clear();
        testing::internal::CaptureStdout();
        const int status = RunDriver(services).run(arguments);
        output = testing::internal::GetCapturedStdout();
        return status;
    }
    /// A run that must complete without a line.
    void scan(const Lines& arguments) {
        EXPECT_EQ(run(arguments), 0);
        EXPECT_EQ(output, "");
    }
    std::string rangeNote() const { return parent.eventsOf("callback").at(1); }

    test::TemporaryFolder folder;
    std::string path = folder.file("movie.mov");
    test::SystemLogCapture log;
    ParentRecord parent;
    std::shared_ptr<test::SyntheticAsset> movie = cleanMovie(5);
    Lines openedPaths;
    Lines steps; ///< What the last run did with its log and crash reporter, and when it opened.
    std::vector<std::chrono::milliseconds> pauses;
    RunServices services;
    std::string output;
};

// The number of arguments.

TEST_F(RunDriverTest, FewerThanTwelveArgumentsAreRefusedBeforeAnythingIsOpened) {
    for (std::size_t count = 0; count < 12; ++count) {
        Lines arguments = fullArguments();
        arguments.resize(count);
        EXPECT_EQ(run(arguments), 1) << count;
        EXPECT_EQ(output, kBadCount);
    }
    EXPECT_THAT(openedPaths, IsEmpty());
    EXPECT_THAT(parent.names, IsEmpty());
}

// The log and the crash reporter.

TEST_F(RunDriverTest, AWrongNumberOfArgumentsStartsNothing) {
    run({"OxbowGlint", path});
    EXPECT_THAT(steps, IsEmpty());
}

TEST_F(RunDriverTest, AMissingFileStopsTheCrashReporterAndDoesNotFinishTheLog) {
    EXPECT_EQ(run(argumentsWith(1, "/nowhere/at/all")), 1);
    EXPECT_THAT(steps, ElementsAre("start", "stop bug reporter"));
}

TEST_F(RunDriverTest, AnUnreadableMovieStopsTheCrashReporterAndDoesNotFinishTheLog) {
    movie->playable_ = false;
    EXPECT_EQ(run(fullArguments()), 1);
    EXPECT_THAT(steps, ElementsAre("start", "open", "stop bug reporter"));
    movie->playable_ = true;
    movie->readable_ = false;
    EXPECT_EQ(run(fullArguments()), 1);
    EXPECT_THAT(steps, ElementsAre("start", "open", "stop bug reporter"));
}

TEST_F(RunDriverTest, AScanFinishesTheLogAndThenStopsTheCrashReporter) {
    scan(fullArguments());
    EXPECT_THAT(steps, ElementsAre("start", "open", "finish log", "stop bug reporter"));
}

TEST_F(RunDriverTest, AMissingArgumentLeavesTheRunWithoutACleanEnd) {
    Lines arguments = fullArguments();
    arguments.resize(13);
    EXPECT_THROW(RunDriver(services).run(arguments), std::out_of_range);
    EXPECT_THAT(steps, ElementsAre("start", "open"));
    steps.clear();
    arguments.resize(12);
    EXPECT_THROW(RunDriver(services).run(arguments), std::out_of_range);
    EXPECT_THAT(steps, ElementsAre("start", "open"));
}

TEST_F(RunDriverTest, WhatTheScanPostsToTheMainThreadRunsWhileItIsWatched) {
    services.pause = RunServices().pause;
    bool ranOnMainThread = false;
    services.findConnection = [&](const std::string& name) {
        runOnMainThread([&] { ranOnMainThread = isMainThread(); });
        return parent.finder()(name);
    };
    scan(fullArguments());
    EXPECT_TRUE(ranOnMainThread);
}

TEST_F(RunDriverTest, TheFullListIsFourteenWithTheProgramsPath) {
    scan(fullArguments());
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0", "1", "2", "3", "4"));
    EXPECT_EQ(parent.events.back(), "finished");
}

TEST_F(RunDriverTest, FurtherArgumentsAreIgnored) {
    Lines arguments = fullArguments();
    arguments.push_back("more");
    scan(arguments);
}

TEST_F(RunDriverTest, TheWordTimingWaivesTheCountCheckOnly) {
    EXPECT_EQ(run({"OxbowGlint", "-timing"}), 1);
    EXPECT_EQ(output, kNoFile) << "the word stands where the path stands";
    EXPECT_EQ(run({"OxbowGlint", "/nowhere/at/all", "-timing"}), 1);
    EXPECT_EQ(output, kNoFile);
    Lines arguments = fullArguments();
    arguments.push_back("-timing");
    scan(arguments);
    arguments = argumentsWith(4, "-timing");
    scan(arguments);
}

TEST_F(RunDriverTest, TimingMustBeAWordOfItsOwn) {
    for (const char* word : {"timing", "--timing", "-timing ", "-Timing", "-timings"}) {
        EXPECT_EQ(run({"OxbowGlint", path, word}), 1);
        EXPECT_EQ(output, kBadCount) << word;
    }
}

/// Ends the process as the program ends it: nothing catches what run throws.
void runUncaught(const RunServices& services, const Lines& arguments) noexcept {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    static_cast<void>(RunDriver(services).run(arguments));
}

class RunDriverDeathTest : public RunDriverTest {
protected:
    /// Abnormally, and with no line on standard output.
    void expectAbnormalEnd(const Lines& arguments) {
        const std::string outputPath = folder.file("output");
        EXPECT_EXIT(
            {
                std::freopen(outputPath.c_str(), "w", stdout);
                std::setvbuf(stdout, nullptr, _IONBF, 0);
                runUncaught(services, arguments);
            },
            testing::KilledBySignal(SIGABRT), "out_of_range")
            << arguments.size() << " arguments";
        std::ifstream written(outputPath);
        ASSERT_TRUE(written.is_open());
        EXPECT_EQ(written.peek(), std::ifstream::traits_type::eof());
    }
};

TEST_F(RunDriverDeathTest, TwelveAndThirteenArgumentsPassTheCheckAndEndAbnormally) {
    for (const std::size_t count : {12U, 13U}) {
        Lines arguments = fullArguments();
        arguments.resize(count);
        expectAbnormalEnd(arguments);
    }
}

TEST_F(RunDriverDeathTest, AShortTimingCallOfAMovieEndsAbnormally) {
    expectAbnormalEnd({"OxbowGlint", path, "-timing"});
    expectAbnormalEnd({"OxbowGlint", path, "0", "-timing"});
    expectAbnormalEnd({"OxbowGlint", path, "0", "10", "0", "1", "16", "-timing"});
    expectAbnormalEnd({"-timing"});
}

TEST_F(RunDriverTest, AMissingFileIsToldEvenWhenLaterArgumentsAreMissing) {
    Lines arguments = argumentsWith(1, folder.file("none.mov"));
    arguments.resize(12);
    EXPECT_EQ(run(arguments), 1);
    EXPECT_EQ(output, kNoFile);
    EXPECT_THAT(openedPaths, IsEmpty());
}

TEST_F(RunDriverTest, AMovieThatDoesNotLoadIsToldEvenWhenLaterArgumentsAreMissing) {
    movie->playable_ = false;
    EXPECT_EQ(run({"OxbowGlint", path, "-timing"}), 1);
    EXPECT_EQ(output, kNoMovie);
}

// The movie.

TEST_F(RunDriverTest, AMissingFileIsAnError) {
    EXPECT_EQ(run(argumentsWith(1, folder.file("none.mov"))), 1);
    EXPECT_EQ(output, kNoFile);
    EXPECT_EQ(run(argumentsWith(1, "")), 1);
    EXPECT_EQ(output, kNoFile);
}

/// Notes which questions a run asks.
class QuestionedAsset final : public Asset {
public:
    QuestionedAsset(bool playable, bool readable) : playable_(playable), readable_(readable) {}

    std::optional<AssetUrl> url() const override { return std::nullopt; }
    bool isPlayable() const override {
        questions.push_back("playable");
        return playable_;
    }
    bool isReadable() const override {
        questions.push_back("readable");
        return readable_;
    }
    std::optional<Error> error() const override { return std::nullopt; }
    MediaTime duration() const override { return MediaTime::zero(); }
    const std::vector<Track>& tracks() const override { return tracks_; }
    Result<std::unique_ptr<AssetReader>> makeReader() const override {
        return Error{"test", 1, "There is nothing to read."};
    }

    mutable Lines questions;

private:
    bool playable_;
    bool readable_;
    std::vector<Track> tracks_;
};

TEST_F(RunDriverTest, AMovieMustBePlayableAndThenReadable) {
    const auto questionsOf = [this](bool playable, bool readable, int status) {
        const auto asset = std::make_shared<QuestionedAsset>(playable, readable);
        services.openAsset = [&asset](const std::string&) {
            return std::shared_ptr<const Asset>(asset);
        };
        EXPECT_EQ(run(fullArguments()), status);
        EXPECT_EQ(output, status == 1 ? kNoMovie : "");
        return Lines(asset->questions.begin(),
                     asset->questions.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(
                                                    2, asset->questions.size())));
    };
    EXPECT_THAT(questionsOf(false, true, 1), ElementsAre("playable"));
    EXPECT_THAT(questionsOf(false, false, 1), ElementsAre("playable"));
    EXPECT_THAT(questionsOf(true, false, 1), ElementsAre("playable", "readable"));
    EXPECT_THAT(questionsOf(true, true, 0), ElementsAre("playable", "readable"));
}

TEST_F(RunDriverTest, ThePathIsOpenedAndNamesTheConnectionAsItStands) {
    const std::string odd = folder.file("a \"b\" @ %d\n\xC3\xA9 \xFF.mov");
    std::ofstream(odd) << "a movie";
    scan(argumentsWith(1, odd));
    EXPECT_THAT(openedPaths, ElementsAre(odd));
    EXPECT_THAT(parent.names, ElementsAre("Oxbow - " + odd));
}

TEST_F(RunDriverTest, TheWholeArgumentListIsToldToTheParent) {
    scan(fullArguments());
    const std::string note = parent.eventsOf("callback").at(3);
    EXPECT_THAT(note, testing::StartsWith("args: (\n    OxbowGlint,\n    "));
    EXPECT_THAT(note, testing::EndsWith("\n    0,\n    1.78\n)"));
    EXPECT_EQ(std::count(note.begin(), note.end(), '\n'), 15);
}

// The range.

TEST_F(RunDriverTest, TheRangeIsFromTheStartFrameToTheEndFrame) {
    Lines arguments = argumentsWith(2, "1");
    arguments[3] = "3";
    scan(arguments);
    EXPECT_EQ(rangeNote(), "timerange: 2000,25000 - 1000, 25000");
}

TEST_F(RunDriverTest, AnEndBeyondTheMovieIsTheMoviesDuration) {
    scan(argumentsWith(3, "6"));
    EXPECT_EQ(rangeNote(), "timerange: 5000,25000 - 0, 25000");
    scan(argumentsWith(3, "5"));
    EXPECT_EQ(rangeNote(), "timerange: 5000,25000 - 0, 25000");
    scan(argumentsWith(3, "4"));
    EXPECT_EQ(rangeNote(), "timerange: 4000,25000 - 0, 25000");
}

TEST_F(RunDriverTest, TheDurationsValueIsTakenOnTheStartsTimescaleWhateverItsOwn) {
    movie->duration_ = MediaTime::make(120, 600);
    Lines arguments = argumentsWith(2, "1");
    scan(arguments);
    EXPECT_EQ(rangeNote(), "timerange: -880,25000 - 1000, 25000");
    scan(argumentsWith(2, "0"));
    EXPECT_EQ(rangeNote(), "timerange: 120,25000 - 0, 25000");
}

TEST_F(RunDriverTest, AStartBehindTheEndGivesANegativeLengthAndNoFault) {
    movie = movieOf(Frames(5, frame8(0)));
    Lines arguments = argumentsWith(2, "4");
    arguments[3] = "2";
    scan(arguments);
    EXPECT_EQ(rangeNote(), "timerange: -2000,25000 - 4000, 25000");
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0", "1")) << "the lead-in, clean";
}

TEST_F(RunDriverTest, ANegativeStartIsBeforeTheMovie) {
    scan(argumentsWith(2, "-2"));
    EXPECT_EQ(rangeNote(), "timerange: 7000,25000 - -2000, 25000");
    EXPECT_EQ(parent.eventsOf("frame").size(), 5U);
}

TEST_F(RunDriverTest, FrameNumbersBeyond32BitsKeepTheirLow32Bits) {
    Lines arguments = argumentsWith(2, "4611686018427387904"); // 2^62
    arguments[3] = "4294967299";                               // 2^32 + 3
    scan(arguments);
    EXPECT_EQ(rangeNote(), "timerange: 3000,25000 - 0, 25000");
    scan(argumentsWith(2, "99999999999999999999")); // Held at 2^63 - 1.
    EXPECT_EQ(rangeNote(), "timerange: 6000,25000 - -1000, 25000");
}

TEST_F(RunDriverTest, NumbersAreReadAsFarAsTheyGo) {
    Lines arguments = argumentsWith(2, "  +1x9");
    arguments[3] = "\t3.9";
    scan(arguments);
    EXPECT_EQ(rangeNote(), "timerange: 2000,25000 - 1000, 25000");
    arguments = argumentsWith(2, "");
    arguments[3] = "three";
    scan(arguments);
    EXPECT_EQ(rangeNote(), "timerange: 0,25000 - 0, 25000");
}

TEST_F(RunDriverTest, TheReservedArgumentPlaysNoPart) {
    for (const char* value : {"", "1", "-5", "many"}) {
        scan(argumentsWith(4, value));
        EXPECT_EQ(rangeNote(), "timerange: 5000,25000 - 0, 25000");
        EXPECT_EQ(parent.eventsOf("frame").size(), 5U);
    }
}

TEST_F(RunDriverTest, TimecodesStartAtZeroWithoutATimecodeTrack) {
    movie = movieOf({frame8(128), frame8(0)});
    scan(fullArguments());
    EXPECT_EQ(parent.eventsOf("frame").back(),
              std::string("1 00:00:00:01 1000/25000 ") + kBlackFrame);
}

TEST_F(RunDriverTest, TimecodesStartWhereTheMovieSays) {
    movie = movieOf({frame8(128), frame8(0)});
    const Track timecode = test::timecodeTrack(9, 25, 1, 25, 0, fourCC("tmcd"));
    movie->tracks_.push_back(timecode);
    movie->reading(9).samples.push_back(test::timecodeSample(25 * 3600, timecode));
    scan(fullArguments());
    EXPECT_EQ(parent.eventsOf("frame").back(),
              std::string("1 01:00:00:01 1000/25000 ") + kBlackFrame);
}

// The settings.

TEST_F(RunDriverTest, AFlagIsTrueForOneOnly) {
    movie = movieOf({frame8(0)});
    scan(argumentsWith(5, "1"));
    EXPECT_THAT(parent.eventsOf("frame").at(0), testing::EndsWith(kBlackFrame));
    for (const char* value : {"0", "", "true", "yes", "01", "1 ", " 1", "1.0", "2"}) {
        scan(argumentsWith(5, value));
        EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0")) << value;
    }
}

TEST_F(RunDriverTest, BlackAndWhiteLevelsAreTheSixthAndTheSeventh) {
    movie = movieOf({frame8(100)});
    scan(argumentsWith(6, "101"));
    EXPECT_THAT(parent.eventsOf("frame").at(0), testing::HasSubstr("Blacks too low - 100"));
    scan(argumentsWith(7, "99"));
    EXPECT_THAT(parent.eventsOf("frame").at(0), testing::HasSubstr("Whites too high - 100"));
}

TEST_F(RunDriverTest, OnlyADepthOfTenSelectsTenBits) {
    for (const char* value : {"10", " 10x", "8", "0", "", "ten", "12", "-10"}) {
        scan(argumentsWith(8, value));
        const bool isTen = std::string(value).find("10") < 2 && value[0] != '-';
        EXPECT_EQ(std::get<VideoFrames>(movie->log_.settings.value()).layout,
                  isTen ? PixelLayout::kV210 : PixelLayout::k2vuy)
            << value;
    }
}

/// Two grey pictures apart by 64 in the mean, then a third: a single flash for a high sensitivity.
Frames flashFrames() {
    const auto after = frame8(40, 64, 64);
    std::fill(after->row(0), after->row(32), std::uint8_t{160});
    return {frame8(40, 64, 64), frame8(128, 64, 64), after};
}

TEST_F(RunDriverTest, FlashArgumentsAreTheNinthToTheEleventh) {
    movie = movieOf(flashFrames());
    Lines arguments = argumentsWith(9, "1");
    arguments[11] = "13";
    scan(arguments);
    EXPECT_EQ(parent.eventsOf("frame").size(), 4U);
    arguments[9] = "true";
    scan(arguments);
    EXPECT_EQ(parent.eventsOf("frame").size(), 3U);
    arguments[9] = "1";
    arguments[11] = "5";
    scan(arguments);
    EXPECT_EQ(parent.eventsOf("frame").size(), 3U) << "not sensitive enough";
    arguments[11] = "13";
    arguments[10] = "0";
    scan(arguments);
    EXPECT_EQ(parent.eventsOf("frame").size(), 3U) << "no third frame to compare with";
}

TEST_F(RunDriverTest, TheFlashLengthIsReadBeforeTheRange) {
    Lines arguments = argumentsWith(2, "3");
    arguments[10] = "2";
    scan(arguments);
    EXPECT_EQ(movie->log_.range->start, MediaTime::make(1000, 25000));
    arguments[10] = "4611686018427387904";
    arguments[9] = "1";
    scan(arguments);
    EXPECT_EQ(parent.eventsOf("frame").size(), 5U);
    EXPECT_EQ(movie->log_.range->end(), MediaTime::make(5000, 25000));
}

TEST_F(RunDriverTest, TheAspectRatioIsEnforcedWhenAskedFor) {
    movie = movieOf({frame8(100, 64, 64)});
    Lines arguments = argumentsWith(13, "2");
    arguments[12] = "1";
    scan(arguments);
    EXPECT_THAT(parent.eventsOf("frame").at(0), testing::HasSubstr("Upper matte area"));
    arguments[12] = "yes";
    scan(arguments);
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0"));
    arguments[12] = "1";
    arguments[13] = "wide";
    scan(arguments);
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0")) << "a ratio of 0 is no check";
}

TEST_F(RunDriverTest, TheAspectRatioIsSnapped) {
    // 322 x 195 has 13.9 spare rows at 16:9, all slack. At a ratio hardly larger it has 14.1, and
    // one row of each bar must be black.
    movie = movieOf({frame8(100, 322, 195)});
    Lines arguments = argumentsWith(13, "1.78");
    arguments[12] = "1";
    scan(arguments);
    EXPECT_THAT(parent.eventsOf("frame"), ElementsAre("0"));
    arguments[13] = "1.7801";
    scan(arguments);
    EXPECT_THAT(parent.eventsOf("frame").at(0), testing::HasSubstr("Upper matte area"));
}

TEST(AspectRatioTest, FromJustAbove177To178BecomesSixteenToNine) {
    EXPECT_EQ(snappedAspectRatio(1.77), 1.77);
    EXPECT_EQ(snappedAspectRatio(std::nextafter(1.77, 2)), 16.0 / 9.0);
    EXPECT_EQ(snappedAspectRatio(1.775), 16.0 / 9.0);
    EXPECT_EQ(snappedAspectRatio(1.7777777777777777), 1.7777777777777777);
    EXPECT_EQ(snappedAspectRatio(1.78), 16.0 / 9.0);
    EXPECT_EQ(snappedAspectRatio(std::nextafter(1.78, 2)), std::nextafter(1.78, 2));
}

TEST(AspectRatioTest, Exactly133BecomesFourToThree) {
    EXPECT_EQ(snappedAspectRatio(1.33), 4.0 / 3.0);
    EXPECT_EQ(snappedAspectRatio(std::nextafter(1.33, 2)), std::nextafter(1.33, 2));
    EXPECT_EQ(snappedAspectRatio(std::nextafter(1.33, 1)), std::nextafter(1.33, 1));
    EXPECT_EQ(snappedAspectRatio(1.333), 1.333);
}

TEST(AspectRatioTest, EveryOtherRatioStays) {
    for (const double ratio : {-1.0, 0.0, 1.0, 1.85, 2.39, 1e300}) {
        EXPECT_EQ(snappedAspectRatio(ratio), ratio);
    }
}

// The end.

TEST_F(RunDriverTest, LooksForTheEndEvery300Milliseconds) {
    // The scan cannot end before the driver has waited three times.
    std::atomic<int> waits = 0;
    services.pause = [&waits](std::chrono::milliseconds length) {
        EXPECT_EQ(length, std::chrono::milliseconds(300));
        ++waits;
        waits.notify_all();
        std::this_thread::yield();
    };
    parent.onEvent = [&waits](const std::string& event) {
        if (event == "finished") {
            for (int seen = waits; seen < 3; seen = waits) {
                waits.wait(seen);
            }
        }
    };
    scan(fullArguments());
    EXPECT_GE(waits, 3);
}

TEST_F(RunDriverTest, TheScanRunsOnAnotherThread) {
    std::thread::id scanThread;
    parent.onEvent = [&scanThread](const std::string&) {
        scanThread = std::this_thread::get_id();
    };
    scan(fullArguments());
    EXPECT_NE(scanThread, std::thread::id());
    EXPECT_NE(scanThread, std::this_thread::get_id());
}

TEST_F(RunDriverTest, TheScansThreadCanReportTheOverflowOfItsStack) {
    stack_t stack{};
    parent.onEvent = [&stack](const std::string&) {
        ::sigaltstack(nullptr, &stack);
    };
    scan(fullArguments());
    EXPECT_NE(stack.ss_size, 0U);
    EXPECT_EQ(stack.ss_flags & SS_DISABLE, 0);
}

TEST_F(RunDriverTest, FaultsAndReaderFailuresDoNotChangeTheStatus) {
    movie = movieOf(Frames(3, frame8(0)));
    scan(fullArguments());
    movie->reading(test::kVideoTrackId).finalError = Error{"domain", 1, "Damaged."};
    scan(fullArguments());
    EXPECT_EQ(parent.events.back(), "failed domain 1 Damaged.");
    movie->reading(test::kVideoTrackId).creationError = Error{"domain", 2, "Encrypted."};
    scan(fullArguments());
    EXPECT_EQ(parent.events.back(), "failed domain 2 Encrypted.");
}

TEST_F(RunDriverTest, AScanThatAnExceptionEndsIsComplete) {
    movie->reading(test::kVideoTrackId).exceptionText = "The disk is gone.";
    scan(fullArguments());
    EXPECT_EQ(log.lines, Lines{"Exception: The disk is gone."});
}

TEST_F(RunDriverTest, WithoutAParentTheRunCompletesSilently) {
    services.findConnection = test::noParent;
    movie = movieOf(Frames(3, frame8(0)));
    scan(fullArguments());
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(RunDriverTest, AMovieWithSoundOnlyGetsTheNotesAndTheClosingMessage) {
    movie->tracks_.front().mediaType = MediaType::kAudio;
    scan(fullArguments());
    EXPECT_EQ(parent.events.size(), 6U);
    EXPECT_EQ(parent.events.back(), "finished");
}

} // namespace
} // namespace fw
