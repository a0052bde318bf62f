#include "platform/FileDescriptor.h"
#include "tests/oxbow/OxbowProcess.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/plainCrashes.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>

namespace fw::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

/// oxbow with a scanner that does as it is told; the movie has four frames.
class ScanProgram : public testing::Test {
protected:
    ~ScanProgram() override { EXPECT_TRUE(house_.isCleanedUp()); }

    OxbowHouse house_{OxbowHouse::Scanner::kFake};
};

TEST_F(ScanProgram, ACleanMovieEndsWithZero) {
    house_.setScript("frames 0 4\nfinish");
    const Finished scan = house_.run({"scan", house_.movie()});
    EXPECT_EQ(scan.status, 0);
    EXPECT_THAT(scan.output, testing::StartsWith("Frames: 4 reported"));
    EXPECT_THAT(scan.output, HasSubstr("\nFaults: 0\nVerdict: clean\n"));
    EXPECT_EQ(scan.error, "") << "nothing but results where there is no terminal";
}

TEST_F(ScanProgram, FaultsArePrintedAndEndWithOne) {
    house_.setScript("frames 0 2\n"
                     "fault 2 Blacks too low - 3 (12, 0.10%)\n"
                     "fault 1 Flash frame (1 frame)\n"
                     "frames 3 4\n"
                     "finish");
    const Finished scan = house_.run({"scan", house_.movie()});
    EXPECT_EQ(scan.status, 1);
    EXPECT_THAT(scan.output,
                testing::StartsWith("frame 2  00:00:00:2  Blacks too low - 3 (12, 0.10%)\n"
                                    "frame 1  00:00:00:1  Flash frame (1 frame)\n"
                                    "Frames: 4 reported"));
    EXPECT_THAT(scan.output, HasSubstr("Faults: 2 (blacks 1, flash 1)\nVerdict: faults\n"));
}

TEST_F(ScanProgram, TheScannerGetsItsThirteenArguments) {
    house_.setScript("finish");
    house_.run({"scan", house_.movie(), "--start", "1", "--end", "3", "--depth", "10", "--aspect",
                "16:9", "--no-luma"});
    EXPECT_THAT(house_.scannerArguments(),
                testing::ElementsAre(house_.movie(), "1", "3", "0", "0", "64", "940", "10", "1",
                                     "4", "5", "1", "1.7777777777777777"));
}

TEST_F(ScanProgram, JsonIsOneDocumentAndNothingElse) {
    house_.setScript("frames 0 3\nfault 3 Whites too high - 255 (40, 0.10%)\nfinish");
    const Finished scan = house_.run({"scan", "--json", house_.movie()});
    EXPECT_EQ(scan.status, 1);
    const json document = json::parse(scan.output);
    EXPECT_EQ(document["movie"], house_.movie());
    EXPECT_EQ(document["complete"], true);
    EXPECT_EQ(document["verdict"], "faults");
    EXPECT_EQ(document["frames"]["reported"], 4);
    EXPECT_EQ(document["faults"], json::parse(R"json([{"kind": "whites", "frame": 3,
        "timecode": "00:00:00:3", "value": 3000, "timescale": 25000,
        "message": "Whites too high - 255 (40, 0.10%)"}])json"));
    EXPECT_TRUE(document["error"].is_null());
}

TEST_F(ScanProgram, FramesBelowTheStartAreNotCounted) {
    house_.setScript("frames 0 4\nfinish");
    const Finished scan = house_.run({"scan", "--json", "--start", "2", house_.movie()});
    EXPECT_EQ(json::parse(scan.output)["frames"], json::parse(R"({"expected": null,
        "reported": 2})"));
    EXPECT_EQ(scan.status, 0);
}

TEST_F(ScanProgram, AFailureIsIncompleteAndKeepsWhatWasFound) {
    house_.setScript("fault 0 Blacks too low - 3 (12, 0.10%)\nfail The file ends too early.");
    const Finished text = house_.run({"scan", house_.movie()});
    EXPECT_EQ(text.status, 2);
    EXPECT_THAT(text.output, HasSubstr("frame 0  00:00:00:0  Blacks too low"));
    EXPECT_THAT(text.output, HasSubstr("Verdict: incomplete\nReason: The file ends too early.\n"));
    const json document = json::parse(house_.run({"scan", "--json", house_.movie()}).output);
    EXPECT_EQ(document["verdict"], "incomplete");
    EXPECT_EQ(document["complete"], false);
    EXPECT_EQ(document["faults"].size(), 1U);
    EXPECT_EQ(document["error"], json::parse(R"({"domain": "test", "code": 5,
        "description": "The file ends too early."})"));
}

TEST_F(ScanProgram, ThousandsOfFaultsAllArrive) {
    std::string script;
    for (int i = 0; i < 5000; ++i) {
        script += "fault " + std::to_string(i) + " Blacks too low - 3 (12, 0.10%)\n";
    }
    house_.setScript(script + "finish");
    const Finished scan = house_.run({"scan", "--json", house_.movie()});
    const json document = json::parse(scan.output);
    ASSERT_EQ(document["faults"].size(), 5000U);
    for (std::size_t i = 0; i < 5000; ++i) {
        ASSERT_EQ(document["faults"][i]["frame"], i);
    }
}

TEST_F(ScanProgram, WhatCannotBeOpenedEndsWithThree) {
    std::ofstream(house_.file("text.mov")) << "This is not a movie.\n";
    std::ofstream(house_.file("empty.mov")).flush();
    for (const std::string& path : {house_.file("missing.mov"), house_.file("text.mov"),
                                    house_.file("empty.mov"), house_.file("run"), std::string()}) {
        const Finished scan = house_.run({"scan", path});
        EXPECT_EQ(scan.status, 3) << path;
        EXPECT_EQ(scan.output, "") << path;
        EXPECT_THAT(scan.error, testing::StartsWith("oxbow: " + path + ": ")) << path;
    }
    const Finished scan = house_.run({"scan", "--json", house_.file("text.mov")});
    EXPECT_EQ(scan.status, 3);
    const json document = json::parse(scan.output);
    EXPECT_EQ(document["verdict"], "incomplete");
    EXPECT_FALSE(document["error"]["description"].get<std::string>().empty());
}

TEST_F(ScanProgram, NoErrorLineGivesTheTerminalOrders) {
    const std::string name = "no\nsuch\x1B[31m";
    const std::string shown = "no\\x0Asuch\\x1B[31m";
    EXPECT_EQ(house_.run({"scan", house_.file(name)}).error,
              "oxbow: " + house_.file(shown) + ": No such file or directory\n");
    const std::string text = house_.run({"scan", house_.movie(), "--start", name}).error;
    EXPECT_THAT(text, testing::AllOf(testing::StartsWith("oxbow: "), HasSubstr(shown)));
    EXPECT_THAT(text, HasSubstr("\nRun oxbow --help"));
    const Finished document = house_.run({"scan", "--json", house_.file(name)});
    EXPECT_EQ(json::parse(document.output)["movie"], house_.file(name)) << "the name itself";
    const ScopedEnvironment environment("TMPDIR", house_.file(name));
    EXPECT_THAT(house_.run({"demo"}).error, HasSubstr(house_.file(shown)));
}

TEST_F(ScanProgram, WrongArgumentsEndWith64AndOneClearSentence) {
    const std::string movie = house_.movie();
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{},
          {"scan"},
          {"scan", movie, "--start", "x"},
          {"scan", movie, "--start", "-1"},
          {"scan", movie, "--start", "3", "--end", "2"},
          {"scan", movie, "--start", "4"},
          {"scan", movie, "--start", "4611686018427387904"},
          {"scan", movie, "--end", "01:00:00:00"},
          {"scan", movie, "--white", "300"},
          {"scan", movie, "--black", "240"},
          {"scan", movie, "--json", "--start", "9"}}) {
        const Finished scan = house_.run(arguments);
        EXPECT_EQ(scan.status, 64) << testing::PrintToString(arguments);
        EXPECT_EQ(scan.output, "");
        EXPECT_THAT(scan.error, testing::StartsWith("oxbow: "));
    }
}

TEST_F(ScanProgram, PathsOfEveryKindReachTheScannerAsTheyAre) {
    for (const std::string name :
         {"with blank.y4m", "it's \"quoted\".y4m", "@%s%n.y4m", "line\nbreak.y4m", "Füße 日本.y4m",
          "invalid \xFF\xC3.y4m", "back\\slash.y4m"}) {
        const std::string path = house_.movieNamed(name);
        house_.setScript("frames 0 3\nfault 3 Blacks too low - 3 (12, 0.10%)\nfinish");
        const Finished scan = house_.run({"scan", "--json", path});
        EXPECT_EQ(scan.status, 1) << name << scan.error;
        EXPECT_EQ(house_.scannerArguments().at(0), path);
        const json document = json::parse(scan.output);
        EXPECT_EQ(document["frames"]["reported"], 4) << name;
        EXPECT_THAT(document["movie"].get<std::string>(), HasSubstr(".y4m"));
    }
}

TEST_F(ScanProgram, ARelativePathNamesTheConnectionAsItWasTyped) {
    const std::string here = std::filesystem::current_path().string();
    ASSERT_EQ(::chdir(house_.file("bin").c_str()), 0);
    house_.setScript("frames 0 4\nfinish");
    EXPECT_EQ(house_.run({"scan", "../movie.y4m"}).status, 0);
    EXPECT_EQ(house_.scannerArguments().at(0), "../movie.y4m");
    ASSERT_EQ(::chdir(here.c_str()), 0);
}

TEST_F(ScanProgram, TheScannersWordsAreShownOnlyWhenAskedFor) {
    house_.setScript("say a word\nframes 0 4\nfinish\nsay the last word");
    EXPECT_EQ(house_.run({"scan", house_.movie()}).error, "");
    const Finished scan = house_.run({"scan", "--verbose", house_.movie()});
    EXPECT_EQ(scan.error, "a word\nthe last word\n");
    EXPECT_EQ(scan.status, 0);
}

TEST_F(ScanProgram, GoesOnWhenNobodyReadsTheScannersWords) {
    std::array<int, 2> ends = {-1, -1};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    FileDescriptor(ends[0]).reset();
    const FileDescriptor broken(ends[1]);
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    house_.setScript("say a word\nframes 0 3\nflood 3000000\n"
                     "fault 3 Whites too high - 255 (40, 0.10%)\nfinish");
    for (const int error : {broken.get(), full.get()}) {
        const Finished document =
            house_.start({"scan", "--json", "--verbose", house_.movie()}, {-1, error})->wait();
        EXPECT_EQ(document.status, 1);
        EXPECT_EQ(json::parse(document.output)["frames"]["reported"], 4);
        const Finished text =
            house_.start({"scan", "--verbose", house_.movie()}, {-1, error})->wait();
        EXPECT_EQ(text.status, 1);
        EXPECT_THAT(text.output, HasSubstr("\nVerdict: faults\n"));
    }
}

TEST_F(ScanProgram, TheDemonstrationGoesOnWhenNobodyReadsTheScannersWords) {
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    house_.setScript("say a word\nframes 0 100\nfinish");
    const Finished demo = house_.start({"demo", "--verbose"}, {-1, full.get()})->wait();
    EXPECT_EQ(demo.status, 1);
    EXPECT_THAT(demo.output, HasSubstr("What was found is not what the movie has.\n"));
}

TEST_F(ScanProgram, AFloodOnTheScannersStandardErrorHoldsNobody) {
    house_.setScript("flood 3000000\nframes 0 4\nflood 3000000\nfinish");
    const Finished scan = house_.run({"scan", house_.movie()});
    EXPECT_EQ(scan.status, 0);
    EXPECT_EQ(scan.error, "");
}

TEST_F(ScanProgram, AFullDeviceEndsWithFour) {
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    for (const char* script :
         {"frames 0 4\nfinish", "fault 0 Blacks too low - 3 (12, 0.10%)\nframes-for-ever"}) {
        house_.setScript(script);
        const Finished scan = house_.start({"scan", house_.movie()}, {full, -1})->wait();
        EXPECT_EQ(scan.status, 4);
        EXPECT_THAT(scan.error, HasSubstr("No space left on device"));
    }
    house_.setScript("frames 0 4\nfinish");
    EXPECT_EQ(house_.start({"scan", "--json", house_.movie()}, {full, -1})->wait().status, 4);
    ::close(full);
}

TEST_F(ScanProgram, ALimitOfAFilesSizeEndsWithFour) {
    constexpr rlim_t kLimit = 100'000; // The other files stay below it.
    const std::string path = house_.file("output");
    std::ofstream(path) << std::string(kLimit, 'x');
    const FileDescriptor output(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    house_.setScript("frames 0 4\nfinish");
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{kLimit, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const auto scan = house_.start({"scan", house_.movie()}, {output.get(), -1});
    ::setrlimit(RLIMIT_FSIZE, &before);
    const Finished end = scan->wait();
    EXPECT_EQ(end.status, 4);
    EXPECT_THAT(end.error, HasSubstr("File too large"));
}

TEST_F(ScanProgram, AClosedPipeEndsWithFour) {
    int ends[2] = {};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ::close(ends[0]);
    house_.setScript("fault 0 Blacks too low - 3 (12, 0.10%)\nframes-for-ever");
    const Finished scan = house_.start({"scan", house_.movie()}, {ends[1], -1})->wait();
    ::close(ends[1]);
    EXPECT_EQ(scan.status, 4);
    EXPECT_THAT(scan.error, HasSubstr("Broken pipe"));
}

TEST_F(ScanProgram, AReaderThatTakesNothingDoesNotKeepItFromEnding) {
    int ends[2] = {};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    std::string script;
    for (int i = 0; i < 5000; ++i) {
        script += "fault 0 Blacks too low - 3 (12, 0.10%)\n";
    }
    house_.setScript(script + "sleep");
    const auto oxbow = house_.start({"scan", house_.movie()}, {ends[1], -1});
    ::close(ends[1]);
    // Full: no room for one more line.
    int held = 0;
    ASSERT_TRUE(comesTrue([&] { return ::ioctl(ends[0], FIONREAD, &held) == 0 && held > 60000; }));
    oxbow->signal(SIGINT);
    const Finished scan = oxbow->wait();
    EXPECT_EQ(scan.status, 4);
    EXPECT_THAT(scan.error, HasSubstr("nobody takes it"));
    ::close(ends[0]);
}

TEST_F(ScanProgram, AReaderThatStopsTakingBeforeTheSignalDoesNotKeepItFromEnding) {
    int ends[2] = {};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    house_.setScript("sleep");
    const auto oxbow = house_.start({"scan", house_.movie()}, {ends[1], -1});
    ASSERT_TRUE(comesTrue([&] { return house_.scannerProcessId() != 0; }));
    // No room for the summary; it waits for the scanner now, not for its output.
    const std::string others(static_cast<std::size_t>(::fcntl(ends[1], F_GETPIPE_SZ)), 'x');
    ASSERT_EQ(::write(ends[1], others.data(), others.size()), static_cast<ssize_t>(others.size()));
    ::close(ends[1]);
    oxbow->signal(SIGINT);
    const Finished scan = oxbow->wait();
    EXPECT_EQ(scan.status, 4);
    EXPECT_THAT(scan.error, HasSubstr("nobody takes it"));
    ::close(ends[0]);
}

TEST_F(ScanProgram, ASlowReaderGetsEverything) {
    int ends[2] = {};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    std::string script;
    for (int i = 0; i < 5000; ++i) {
        script += "fault 0 Blacks too low - 3 (12, 0.10%)\n";
    }
    house_.setScript(script + "finish");
    const auto oxbow = house_.start({"scan", house_.movie()}, {ends[1], -1});
    ::close(ends[1]);
    int held = 0;
    ASSERT_TRUE(comesTrue([&] { return ::ioctl(ends[0], FIONREAD, &held) == 0 && held > 60000; }));
    std::string output;
    char block[8192];
    for (ssize_t length = 0; (length = ::read(ends[0], block, sizeof block)) > 0;) {
        output.append(block, static_cast<std::size_t>(length));
    }
    ::close(ends[0]);
    EXPECT_EQ(oxbow->wait().status, 1);
    EXPECT_THAT(output, HasSubstr("Faults: 5000 (blacks 5000)\n"));
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 5003);
}

TEST_F(ScanProgram, WithoutStandardStreamsItEndsWithFour) {
    house_.setScript("fault 0 Blacks too low - 3 (12, 0.10%)\nfinish");
    OxbowProcess shell(
        "/bin/sh", {"-c", "exec \"$0\" scan \"$1\" <&- >&- 2>&-", house_.program(), house_.movie()},
        house_.file("shell.out"), house_.file("shell.err"), {});
    EXPECT_EQ(shell.wait().status, 4);
}

TEST_F(ScanProgram, TwoScansOfOneMovieAtOnceAreOneAndARefusal) {
    house_.setScript("fault 0 Blacks too low - 3 (12, 0.10%)\nsleep");
    const auto first = house_.start({"scan", house_.movie()});
    ASSERT_TRUE(comesTrue([&] { return first->output().find("frame 0") != std::string::npos; }));
    const Finished second = house_.run({"scan", house_.movie()});
    EXPECT_EQ(second.status, 4);
    EXPECT_EQ(second.error, "oxbow: This movie is being scanned already (process " +
                                std::to_string(first->processId()) + ").\n");
    const Finished third = house_.run({"scan", "--json", house_.movie()});
    EXPECT_EQ(third.status, 4);
    EXPECT_THAT(json::parse(third.output)["error"]["description"].get<std::string>(),
                HasSubstr("This movie is being scanned already"));
    first->signal(SIGINT);
    EXPECT_EQ(first->wait().status, 2);
}

TEST_F(ScanProgram, TwoMoviesAtOnceAreBothScanned) {
    const std::string other = house_.movieNamed("other.y4m");
    house_.setScript("frames 0 4\nfinish");
    const auto first = house_.start({"scan", house_.movie()});
    const auto second = house_.start({"scan", other});
    EXPECT_EQ(first->wait().status, 0);
    EXPECT_EQ(second->wait().status, 0);
}

TEST(ScanProgramCrash, LeavesAReportInTheUsersFolder) {
    letChildrenCrashPlainly();
    const OxbowHouse house(OxbowHouse::Scanner::kFake);
    house.setScript("sleep");
    const auto oxbow = house.start({"scan", house.movie()});
    ASSERT_TRUE(comesTrue([&] { return house.scannerProcessId() != 0; }));
    oxbow->signal(SIGABRT);
    EXPECT_EQ(oxbow->wait().status, 1000 + SIGABRT);
    std::vector<std::string> reports;
    for (const auto& entry :
         std::filesystem::directory_iterator(house.file("home/Library/Logs/DiagnosticReports"))) {
        EXPECT_THAT(entry.path().filename().string(), testing::StartsWith("oxbow_"));
        reports.push_back(contentOf(entry.path()));
    }
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_THAT(reports[0], HasSubstr("\nSignal: SIGABRT (6), code SI_USER (0), sent by process "));
    ::kill(house.scannerProcessId(), SIGKILL);
    EXPECT_TRUE(comesTrue([&] { return !isRunning(house.scannerProcessId()); }));
}

} // namespace
} // namespace fw::test
