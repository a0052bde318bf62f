#include "oxbow/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fw {
namespace {

using Arguments = std::vector<std::string>;

ScanRequest scanOf(const Arguments& options) {
    Arguments arguments = {"scan", "movie.mov"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Request request = parsedCommandLine(arguments);
    if (const auto* advice = std::get_if<Advice>(&request)) {
        ADD_FAILURE() << advice->text;
        return {};
    }
    return std::get<ScanRequest>(request);
}

void expectUsageError(const Arguments& arguments, const std::string& words) {
    const Request request = parsedCommandLine(arguments);
    const auto* advice = std::get_if<Advice>(&request);
    ASSERT_NE(advice, nullptr) << testing::PrintToString(arguments);
    EXPECT_EQ(advice->status, ExitStatus::kUsage);
    EXPECT_THAT(advice->text, testing::StartsWith("oxbow: "));
    EXPECT_THAT(advice->text, testing::HasSubstr(words));
}

void expectBadOption(const std::string& option, const Arguments& values) {
    for (const std::string& value : values) {
        expectUsageError({"scan", "movie.mov", option, value},
                         option + ": \"" + value + "\" is not");
    }
}

TEST(CommandLine, AScanHasItsDefaults) {
    const ScanRequest request = scanOf({});
    EXPECT_EQ(request.settings.movie, "movie.mov");
    EXPECT_FALSE(request.settings.start || request.settings.end || request.settings.depth);
    EXPECT_FALSE(request.settings.black || request.settings.white || request.settings.aspectRatio);
    EXPECT_TRUE(request.settings.checksLuma && request.settings.checksFlashes);
    EXPECT_EQ(request.settings.flashLength, 4);
    EXPECT_EQ(request.settings.flashSensitivity, 5);
    EXPECT_FALSE(request.isJson || request.isVerbose);
}

TEST(CommandLine, EveryOptionIsTaken) {
    const ScanRequest request = scanOf({"--start",
                                        "10",
                                        "--end",
                                        "12.5s",
                                        "--depth",
                                        "10",
                                        "--black",
                                        "60",
                                        "--white",
                                        "950",
                                        "--no-luma",
                                        "--no-flash",
                                        "--flash-length",
                                        "7",
                                        "--flash-sensitivity",
                                        "0",
                                        "--aspect",
                                        "16:9",
                                        "--json",
                                        "--verbose"});
    EXPECT_EQ(request.settings.start, RangePoint(FramePoint{10}));
    EXPECT_EQ(request.settings.end, RangePoint(SecondsPoint{125, 10}));
    EXPECT_EQ(request.settings.depth, 10);
    EXPECT_EQ(request.settings.black, 60);
    EXPECT_EQ(request.settings.white, 950);
    EXPECT_FALSE(request.settings.checksLuma || request.settings.checksFlashes);
    EXPECT_EQ(request.settings.flashLength, 7);
    EXPECT_EQ(request.settings.flashSensitivity, 0);
    EXPECT_EQ(request.settings.aspectRatio, 16.0 / 9.0);
    EXPECT_TRUE(request.isJson && request.isVerbose);
}

TEST(CommandLine, DepthAutoIsTheDefault) {
    EXPECT_EQ(scanOf({"--depth", "auto"}).settings.depth, std::nullopt);
    EXPECT_EQ(scanOf({"--depth", "8"}).settings.depth, 8);
}

TEST(CommandLine, AFlashLengthMayBeAbsurdlyLarge) {
    EXPECT_EQ(scanOf({"--flash-length", "4611686018427387904"}).settings.flashLength,
              4611686018427387904);
}

TEST(CommandLine, NonsenseIsRefusedByName) {
    expectBadOption("--start", {"", "-1", "x", "5x", "1.5", "01:00:00", " 5"});
    expectBadOption("--end", {"", "-1", "1e3", "12,5s"});
    expectBadOption("--depth", {"", "9", "12", "Auto", "10 "});
    expectBadOption("--black", {"", "-1", "1024", "0x10", "16.0"});
    expectBadOption("--white", {"", "many"});
    expectBadOption("--flash-length", {"", "-1", "9223372036854775808"});
    expectBadOption("--flash-sensitivity", {"", "-1", "11", "5.5"});
    expectBadOption("--aspect", {"", "0", "-1", "16/9", "nan", "1:0"});
}

TEST(CommandLine, WhatIsMissingOrUnknownIsRefused) {
    expectUsageError({}, "A subcommand is required: scan or demo\n");
    expectUsageError({"scan"}, "movie is required; one whose name begins with - goes behind --\n");
    expectUsageError({"scan", "-movie.mov"}, "goes behind --\n");
    expectUsageError({"play", "movie.mov"}, "A subcommand is required: scan or demo\n");
    expectUsageError({"scan", "movie.mov", "--bogus"}, "--bogus");
    expectUsageError({"scan", "movie.mov", "second.mov"}, "second.mov");
    expectUsageError({"scan", "movie.mov", "--start"}, "--start");
    expectUsageError({"demo", "movie.mov"}, "movie.mov");
}

TEST(CommandLine, HelpAndVersionAreNoErrors) {
    for (const Arguments& arguments :
         {Arguments{"--help"}, Arguments{"scan", "--help"}, Arguments{"--version"}}) {
        const Request request = parsedCommandLine(arguments);
        const auto* advice = std::get_if<Advice>(&request);
        ASSERT_NE(advice, nullptr);
        EXPECT_EQ(advice->status, ExitStatus::kNoFaults);
        EXPECT_FALSE(advice->text.empty());
    }
}

TEST(CommandLine, APathIsTakenAsItIs) {
    for (const std::string path : {"a b.mov", "it's \"quoted\".mov", "line\nbreak.mov", "@%s.mov",
                                   "\xFF.mov", "ü.mov", "=", "-dash.mov"}) {
        const Request request = parsedCommandLine({"scan", "--", path});
        ASSERT_TRUE(std::holds_alternative<ScanRequest>(request)) << path;
        EXPECT_EQ(std::get<ScanRequest>(request).settings.movie, path);
    }
}

TEST(CommandLine, APathThatLooksLikeAnOptionStandsBehindTwoDashes) {
    const Request request = parsedCommandLine({"scan", "--json", "--", "--movie.mov"});
    ASSERT_TRUE(std::holds_alternative<ScanRequest>(request));
    EXPECT_EQ(std::get<ScanRequest>(request).settings.movie, "--movie.mov");
    EXPECT_TRUE(std::get<ScanRequest>(request).isJson);
}

TEST(CommandLine, TheDemoIsARequestOfItsOwn) {
    EXPECT_TRUE(std::holds_alternative<DemoRequest>(parsedCommandLine({"demo"})));
}

} // namespace
} // namespace fw
