#include "support/FWLog.h"

#include "base/Version.h"
#include "tests/suite/LogHome.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fw {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace fs = std::filesystem;

class FWLogTest : public testing::Test {
protected:
    /// Standard output of a run in which the log "Probe" stands there already, and is not replaced.
    std::string logged(std::vector<std::string> instructions) {
        if (!fs::exists(home.log(1))) {
            home.write(home.log(1), "");
        }
        fs::create_symlink(home.log(1), home.log(1, "log_probe"));
        return home.outputOf(instructions);
    }
    std::string preferences() const {
        return home.file("Library/Preferences/com.fernwick.global.plist");
    }
    void setPreference(const std::string& value) const {
        home.write(preferences(),
                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
                   "<key>disable-logging</key>" +
                       value + "</dict></plist>");
    }

    test::LogHome home;
};

TEST_F(FWLogTest, ANewLogBeginsWithItsHeader) {
    EXPECT_EQ(home.outputOf({"create=Probe"}), "");
    EXPECT_THAT(home.texts(1),
                ElementsAre(MatchesRegex("Log started: [0-9-]{10} [0-9:]{8} \\+0000"),
                            "Version: " + std::string(projectVersion()), "Path: " FW_LOG_PROBE,
                            MatchesRegex("System: macOS .*Linux.*, [1-9][0-9]* CPU\\(s\\), "
                                         "[0-9]+\\.[0-9][0-9] GB RAM"),
                            "Running in 64-bit mode"));
}

TEST_F(FWLogTest, MakesTheFolderWithItsParents) {
    fs::remove_all(home.file("Library"));
    home.outputOf({"create=Probe"});
    EXPECT_THAT(home.texts(1), SizeIs(5));
}

TEST_F(FWLogTest, TextsLoseTheWhiteSpaceAtTheirEndsAndKeepInnerLineBreaks) {
    logged({"append=\n \t two \u2003", "fast=\u2028a\nb\n"});
    EXPECT_THAT(home.content(1), MatchesRegex("[^\n]* - two\n[^\n]* - a\nb\n"));
}

TEST_F(FWLogTest, BlanksAndLineBreaksAloneWriteNothingAndDoNotWait) {
    EXPECT_EQ(logged({"append= \n\t\u00a0", "fast=", "counters"}),
              "written 0 waiting 0 disabled 0 quiet 0\n");
    EXPECT_EQ(home.content(1), "");
}

TEST_F(FWLogTest, AnAbsentFormatDoesNothing) {
    EXPECT_EQ(logged({"absent"}), "");
    EXPECT_EQ(home.content(1), "");
}

TEST_F(FWLogTest, AStrayPercentSignIsWrittenOnceAndADoubledOneToo) {
    logged({"append=100% sure", "append=50%% off", "append=5%%", "append=%% x", "append=5%-5%+5%",
            "append=a%.b%!c%,d%;e%:f"});
    EXPECT_THAT(home.texts(1),
                ElementsAre("100% sure", "50% off", "5%", "% x", "5%-5%+5%", "a%.b%!c%,d%;e%:f"));
}

TEST_F(FWLogTest, ConversionsWithoutArgumentsStandAsTheyAreInBothPasses) {
    EXPECT_EQ(
        logged({"append=%@ %d %s", "print=%@ %5.1f", "debug=%li%%", "print-argument=%@ and %s"}),
        " %%5.1f\n and %%s\n");
    EXPECT_THAT(home.texts(1), ElementsAre("%@ %d %s", "%@ %5.1f", "%li%", "%@ and %s"));
}

TEST_F(FWLogTest, ThePrintedTextShowsEachPercentSignTwice) {
    EXPECT_EQ(logged({"print=rate 5% now"}), "rate 5%% now\n");
    EXPECT_THAT(home.texts(1), ElementsAre("rate 5% now"));
}

TEST_F(FWLogTest, AnEmptyFormatPrintsABareLineFeed) {
    EXPECT_EQ(logged({"print=", "print= \n"}), "\n\n");
    EXPECT_EQ(home.content(1), "");
}

TEST_F(FWLogTest, DebugFormsPrintNothingAndOnlyOneOfThemLogs) {
    EXPECT_EQ(logged({"debug= kept ", "nothing=lost"}), "");
    EXPECT_THAT(home.texts(1), ElementsAre("kept"));
}

TEST_F(FWLogTest, NoPrintingSilencesEcho) {
    EXPECT_EQ(home.outputOf({"quiet=Probe", "print=text", "print="}), "");
    EXPECT_THAT(home.lastText(1), "text");
}

// Names

TEST_F(FWLogTest, TheFirstNameGivenIsKept) {
    EXPECT_EQ(home.outputOf({"create=First", "create=Second", "name"}), "First\n");
    EXPECT_TRUE(fs::exists(home.log(2, "First")));
    EXPECT_FALSE(fs::exists(home.log(1, "Second")));
}

TEST_F(FWLogTest, WithoutANameTheLogIsNamedAfterTheExecutable) {
    EXPECT_EQ(home.outputOf({"create", "name", "create=Late", "name"}), "log_probe\nLate\n");
    EXPECT_TRUE(fs::exists(home.log(1, "log_probe")));
    EXPECT_TRUE(fs::exists(home.log(1, "Late")));
}

TEST_F(FWLogTest, NamesAreFreeText) {
    home.outputOf({"create=50% \u00e4 %@", "append=x"});
    EXPECT_EQ(home.lastText(1, "50% \u00e4 %@"), "x");
}

TEST_F(FWLogTest, ThereIsOneLog) {
    EXPECT_EQ(home.outputOf({"singleton"}), "111\n");
}

// Generations

TEST_F(FWLogTest, ANewLogMovesEveryGenerationAndDropsTheOldest) {
    for (int i = 1; i <= 5; ++i) {
        home.write(home.log(i), "old " + std::to_string(i));
    }
    home.outputOf({"create=Probe"});
    EXPECT_THAT(home.texts(1), SizeIs(5));
    for (int i = 2; i <= 5; ++i) {
        EXPECT_EQ(home.content(i), "old " + std::to_string(i - 1));
    }
    EXPECT_FALSE(fs::exists(home.log(6)));
}

TEST_F(FWLogTest, WithoutACurrentLogNothingMoves) {
    home.write(home.log(2), "two");
    home.write(home.log(5), "five");
    home.outputOf({"create=Probe"});
    EXPECT_EQ(home.content(2), "two");
    EXPECT_EQ(home.content(5), "five");
    EXPECT_THAT(home.texts(1), SizeIs(5));
}

TEST_F(FWLogTest, AGapInTheGenerationsStays) {
    home.write(home.log(1), "one");
    home.write(home.log(3), "three");
    home.outputOf({"create=Probe"});
    EXPECT_EQ(home.content(2), "one");
    EXPECT_EQ(home.content(4), "three");
    EXPECT_FALSE(fs::exists(home.log(3)));
}

TEST_F(FWLogTest, AvailableLogsAreTheExistingGenerationsInOrder) {
    home.write(home.log(1, "log_probe"), "");
    home.write(home.log(3, "log_probe"), "");
    EXPECT_EQ(home.outputOf({"logs"}),
              home.log(1, "log_probe") + "\n" + home.log(3, "log_probe") + "\n");
}

TEST_F(FWLogTest, ALogAfterFiveMillionBytesBeginsANewGeneration) {
    EXPECT_EQ(home.outputOf({"create=Probe", "big=50", "finish", "append=after"}), "");
    EXPECT_GE(home.content(2).size(), 5'000'000U);
    EXPECT_LT(home.content(2).size(), 5'100'030U);
    EXPECT_THAT(home.texts(1),
                ElementsAre(StartsWith("Log started: "), StartsWith("Version: "),
                            StartsWith("Path: "), StartsWith("System: macOS "),
                            "Running in 64-bit mode", "Log truncated at 500KB", "after"));
    EXPECT_FALSE(fs::exists(home.log(3)));
}

TEST_F(FWLogTest, ARotationKeepsThePrintingFlag) {
    EXPECT_THAT(home.outputOf({"quiet=Probe", "big=50", "finish", "counters", "print=hidden"}),
                EndsWith("quiet 1\n"));
    EXPECT_THAT(home.outputOf({"create=Probe", "big=50", "finish", "counters", "print=shown"}),
                EndsWith("quiet 0\nshown\n"));
    EXPECT_TRUE(fs::exists(home.log(2)));
}

TEST_F(FWLogTest, ALogThatIsOpenedForItsFirstLineIsContinued) {
    home.write(home.log(1, "log_probe"), "before\n");
    home.outputOf({"append=after"});
    EXPECT_THAT(home.content(home.log(1, "log_probe")), MatchesRegex("before\n[^\n]* - after\n"));
}

TEST_F(FWLogTest, SwitchedOffByThePreferencesItTouchesNoFileAndSaysSoOnce) {
    for (const char* value :
         {"<string>1</string>", "<true/>", "<integer>1</integer>", "<real>1.0</real>"}) {
        setPreference(value);
        EXPECT_EQ(
            home.outputOf({"create=Probe", "append=x", "print=y", "create=Probe", "counters"}),
            "Logging is disabled\nwritten 0 waiting 0 disabled 1 quiet 0\n")
            << value;
        EXPECT_EQ(home.outputOf({"quiet=Probe", "print=y"}), "") << value;
    }
    EXPECT_TRUE(fs::is_empty(home.folder()));
}

TEST_F(FWLogTest, EveryOtherPreferenceLeavesItOn) {
    for (const char* value : {"<string>0</string>", "<false/>", "<string>true</string>",
                              "<integer>2</integer>", "<string>1 </string>", "<array/>"}) {
        setPreference(value);
        EXPECT_EQ(home.outputOf({"create=Probe"}), "") << value;
        EXPECT_THAT(home.texts(1), SizeIs(5)) << value;
    }
    home.write(preferences(), "no property list");
    EXPECT_EQ(home.outputOf({"create=Probe"}), "");
}

TEST_F(FWLogTest, PreferencesAreReadAtANewLogOnly) {
    setPreference("<true/>");
    home.write(home.log(1, "log_probe"), "");
    home.outputOf({"append=x"});
    EXPECT_THAT(home.texts(1, "log_probe"), ElementsAre("x"));
}

// The superuser

TEST_F(FWLogTest, TheSuperusersLogIsTheMachinesWhileTheUsersFolderIsRotated) {
    const std::string machine = home.file("machine/Logs/Fernwick/Probe.1.log");
    home.write(machine, "emptied");
    for (int i = 1; i <= 5; ++i) {
        home.write(home.log(i), "old " + std::to_string(i));
    }
    EXPECT_EQ(home.outputOf({"user=0", "library=" + home.file("machine"), "create=Probe", "logs"}),
              home.log(2) + "\n" + home.log(3) + "\n" + home.log(4) + "\n" + home.log(5) + "\n");
    EXPECT_THAT(home.content(machine),
                AllOf(HasSubstr(" - Log started: "), EndsWith(" - Running in 64-bit mode\n"),
                      Not(HasSubstr("emptied"))));
    EXPECT_EQ(home.content(2), "old 1");
    EXPECT_FALSE(fs::exists(home.file("machine/Logs/Fernwick/Probe.2.log")));
}

TEST_F(FWLogTest, ASuperusersLogIsEmptiedUnderTheOneWhoWritesIt) {
    const std::string machine = home.file("machine/Logs/Fernwick/Probe.1.log");
    home.write(machine, "");
    const std::string library = "library=" + home.file("machine");
    // The second one begins its log while the first one runs.
    EXPECT_EQ(home.outputOf({"user=0", library, "create=Probe", "append=gone", "finish", "again",
                             "append=of the first", "finish"}),
              "");
    EXPECT_THAT(home.content(machine), Not(HasSubstr("gone")));
    EXPECT_THAT(home.content(machine), HasSubstr("64-bit"));
    EXPECT_THAT(home.content(machine), EndsWith(" - of the first\n"));
}

TEST_F(FWLogTest, TheSuperusersFolderOfTheMachineIsNotMade) {
    fs::remove_all(home.file("Library"));
    const std::string log = home.file("machine/Logs/Fernwick/Probe.1.log");
    EXPECT_EQ(home.outputOf({"user=0", "library=" + home.file("machine"), "create=Probe"}),
              "Unable to create log file " + log + " - No such file or directory\n");
    EXPECT_TRUE(fs::is_directory(home.folder())) << "the user's folder is made all the same";
    EXPECT_FALSE(fs::exists(home.file("machine")));
}

// Failures

TEST_F(FWLogTest, AFolderThatCannotBeMade) {
    fs::remove_all(home.file("Library"));
    home.write(home.file("Library"), "a file");
    EXPECT_EQ(home.outputOf({"create=Probe"}), "Unable to create folder " + home.folder() + ".\n");
    EXPECT_EQ(home.outputOf({"quiet=Probe", "append=x"}), "");
}

TEST_F(FWLogTest, AGenerationThatCannotBeMovedStopsTheRotation) {
    for (int i = 1; i <= 4; ++i) {
        home.write(home.log(i), "old " + std::to_string(i));
    }
    home.write(home.log(5) + "/kept", "in a folder that cannot be deleted");
    const std::string expected =
        "Unable to move file " + home.log(4) + " to " + home.log(5) + ".\n";
    EXPECT_EQ(home.outputOf({"create=Probe"}), expected);
    EXPECT_EQ(home.content(1), "old 1");
    EXPECT_EQ(home.content(home.log(5) + "/kept"), "in a folder that cannot be deleted");
    EXPECT_EQ(home.outputOf({"quiet=Probe"}), "");
}

TEST_F(FWLogTest, AfterAFailedRotationLinesGoToTheOldLog) {
    home.write(home.log(1), "old\n");
    home.write(home.log(4), "");
    home.write(home.log(5) + "/kept", "");
    home.outputOf({"create=Probe", "append=later"});
    EXPECT_THAT(home.content(1), MatchesRegex("old\n[^\n]* - later\n"));
}

TEST_F(FWLogTest, ACurrentLogThatCannotBeWritten) {
    // Nothing can be made in a folder that the log's name points to and that is not there.
    EXPECT_EQ(home.outputOf({"create=missing/Probe"}), "Unable to create log file " +
                                                           home.log(1, "missing/Probe") +
                                                           " - No such file or directory\n");
    EXPECT_EQ(home.outputOf({"quiet=missing/Probe"}), "");
}

TEST_F(FWLogTest, ALineThatFindsNoLogIsShownAndNoFileIsMade) {
    EXPECT_EQ(home.outputOf({"append=first", "finish", "append=second", "finish", "counters"}),
              "Unable to log the following information: first\nUnable to open log for output\n"
              "Unable to log the following information: second\nUnable to open log for output\n"
              "written 0 waiting 0 disabled 0 quiet 0\n");
    EXPECT_TRUE(fs::is_empty(home.folder()));
}

TEST_F(FWLogTest, LaterLinesTryAgainToOpenTheLog) {
    EXPECT_EQ(home.outputOf({"append=lost", "finish", "create=Probe", "append=kept"}),
              "Unable to log the following information: lost\nUnable to open log for output\n");
    EXPECT_EQ(home.lastText(1), "kept");
}

TEST_F(FWLogTest, AFullDiskIsToldAndTheNextLineBeginsOnALineOfItsOwn) {
    const std::string start = home.outputOf({"create=Probe", "counters"});
    const std::size_t header = home.content(1).size();
    fs::remove(home.log(1));
    const std::string limit = "size-limit=" + std::to_string(header + 60);
    const auto outcome =
        home.run({"create=Probe", "finish", limit, "append=" + std::string(100, 'x'), "finish",
                  "append=y", "finish", "counters"});
    EXPECT_THAT(outcome.output, StartsWith("Exception writing to log: File too large\n"
                                           "Exception writing to log: File too large\n"));
    EXPECT_EQ(outcome.end, ChildEnd(ExitedWithStatus{0}));
    EXPECT_THAT(home.texts(1), SizeIs(6)) << "the header and the part that found room";
    EXPECT_THAT(outcome.output, HasSubstr("waiting 101 ")) << "kept as it is: not counted down";
    EXPECT_EQ(home.run({"quiet=Probe", "finish", limit, "append=" + std::string(100, 'x')}).output,
              "");
}

TEST_F(FWLogTest, AfterAFullDiskALineBeginsOnALineOfItsOwnInWhateverProcess) {
    home.outputOf({"create=Probe"});
    const std::string limit = "size-limit=" + std::to_string(home.content(1).size() + 60);
    fs::remove(home.log(1));
    home.run({"quiet=Probe", "finish", limit, "append=" + std::string(100, 'x'), "finish",
              "size-limit=100000", "append=mine", "finish", "size-limit=1000",
              "append=" + std::string(2000, 'y')});
    fs::create_symlink(home.log(1), home.log(1, "log_probe"));
    home.outputOf({"append=of another"});
    const std::vector<std::string> texts = home.texts(1);
    EXPECT_EQ(texts.back(), "of another");
    EXPECT_THAT(texts, Contains("mine"));
    EXPECT_THAT(texts, Contains(MatchesRegex("y+"))) << "the torn line before it";
}

TEST_F(FWLogTest, SwitchedOffMeanwhileItEndsAtTheNextRotation) {
    const std::string output =
        home.outputOf({"create=Probe", "finish",
                       "write=Library/Preferences/com.fernwick.global.plist:"
                       "<plist><dict><key>disable-logging</key><true/></dict></plist>",
                       "big=49", "finish", "append=still written", "finish", "hold-output", "big=2",
                       "release-output", "finish", "append=dropped", "counters"});
    EXPECT_THAT(output, StartsWith("Logging is disabled\nwritten "));
    EXPECT_THAT(output, EndsWith(" waiting 100000 disabled 1 quiet 0\n"))
        << "kept as it is: the text behind the limit is not counted down";
    EXPECT_THAT(home.content(1), HasSubstr(" - still written\n"));
    EXPECT_THAT(home.content(1), Not(HasSubstr("dropped")));
    EXPECT_FALSE(fs::exists(home.log(2)));
}

TEST_F(FWLogTest, ARotationThatFailsLetsLinesGoOnInTheOldLog) {
    const std::string expected =
        "Unable to move file " + home.log(4) + " to " + home.log(5) + ".\n";
    EXPECT_EQ(home.outputOf({"create=Probe", "write=Library/Logs/Fernwick/Probe.4.log:four",
                             "write=Library/Logs/Fernwick/Probe.5.log/kept:five", "big=50",
                             "finish", "append=goes on", "finish"}),
              expected);
    EXPECT_THAT(home.content(1),
                AllOf(HasSubstr(" - Log truncated at 500KB\n"), EndsWith(" - goes on\n")));
    EXPECT_GT(home.content(1).size(), 5'000'000U);
}

TEST_F(FWLogTest, APipeThatNobodyReadsDoesNotHoldTheLogUp) {
    ASSERT_EQ(::mkfifo(home.log(1, "log_probe").c_str(), 0600), 0);
    EXPECT_THAT(home.outputOf({"append=x", "finish"}), EndsWith("Unable to open log for output\n"));
}

} // namespace
} // namespace fw
