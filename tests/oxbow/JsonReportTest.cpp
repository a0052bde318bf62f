#include "oxbow/JsonReport.h"

#include "platform/FileDescriptor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace fw {
namespace {

using nlohmann::json;

ScanResult finishedScan() {
    ScanResult result;
    result.plan.emplace();
    result.tally = ScanTally(0, std::nullopt);
    result.tally.takeClosingMessage();
    return result;
}

/// The document of a scan, through a pipe.
std::string written(const std::string& movie, const ScanResult& result,
                    const std::vector<Fault>& faults) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    const Output output(writing.get());
    JsonReport report(movie, output);
    if (result.plan) {
        report.begin(*result.plan);
    }
    for (const Fault& fault : faults) {
        report.add(fault);
    }
    report.end(result);
    writing.reset();
    std::string text(65536, '\0');
    std::size_t size = 0;
    for (ssize_t more = 1; more > 0; size += static_cast<std::size_t>(more)) {
        more = ::read(reading.get(), text.data() + size, text.size() - size);
        EXPECT_GE(more, 0);
    }
    text.resize(size);
    return text;
}

std::vector<std::string> keysOf(const nlohmann::ordered_json& object) {
    std::vector<std::string> keys;
    for (const auto& item : object.items()) {
        keys.push_back(item.key());
    }
    return keys;
}

TEST(JsonReport, HasItsKeysInOrderAndEndsItsLine) {
    const std::string text = written("m.mov", finishedScan(), {});
    EXPECT_TRUE(text.ends_with("}\n"));
    EXPECT_EQ(keysOf(nlohmann::ordered_json::parse(text)),
              (std::vector<std::string>{"movie", "settings", "faults", "frames", "complete",
                                        "verdict", "error"}));
}

TEST(JsonReport, IsWrittenAFaultALine) {
    ScanResult result = finishedScan();
    const Fault fault{FaultKind::kBlacks, 1, "00:00:00:01", 1, 25, "m"};
    const std::string text = written("m.mov", result, {fault, fault});
    const std::string line = R"(    {"kind":"blacks","frame":1,"timecode":"00:00:00:01","value":1,)"
                             R"("timescale":25,"message":"m"})";
    EXPECT_THAT(text, testing::HasSubstr("\n  \"faults\": [\n" + line + ",\n" + line + "\n  ],\n"));
    EXPECT_THAT(written("m.mov", result, {}), testing::HasSubstr("\n  \"faults\": [],\n"));
}

TEST(JsonReport, ACleanScanIsCompleteWithoutFaultsOrError) {
    const json document = json::parse(written("m.mov", finishedScan(), {}));
    EXPECT_EQ(document["movie"], "m.mov");
    EXPECT_EQ(document["complete"], true);
    EXPECT_EQ(document["verdict"], "clean");
    EXPECT_EQ(document["frames"], json::parse(R"({"expected": null, "reported": 0})"));
    EXPECT_EQ(document["faults"], json::array());
    EXPECT_TRUE(document["error"].is_null());
}

TEST(JsonReport, AFaultHasAllItsFields) {
    const json document =
        json::parse(written("m.mov", finishedScan(),
                            {{FaultKind::kFlash, -2, "00:00:00:00", 9007199254740993, 25000,
                              "Flash frame (1 frame)"}}));
    EXPECT_EQ(document["faults"], json::parse(R"json([{"kind": "flash", "frame": -2,
        "timecode": "00:00:00:00", "value": 9007199254740993, "timescale": 25000,
        "message": "Flash frame (1 frame)"
}])json"));
}

TEST(JsonReport, SettingsAreThoseThatWereUsed) {
    ScanResult result = finishedScan();
    result.plan->range.startFrame = 5;
    result.plan->range.endFrame = 9;
    result.plan->depth = 10;
    result.plan->black = 64;
    result.plan->white = 940;
    result.plan->checksLuma = false;
    result.plan->aspectRatio = 2.39;
    EXPECT_EQ(json::parse(written("m.mov", result, {}))["settings"], json::parse(R"({
        "start": 5, "end": 9, "depth": 10, "black": 64, "white": 940, "luma": false,
        "flash": true, "flashLength": 4, "flashSensitivity": 5, "aspect": 2.39})"));
    result.plan->range.endFrame.reset();
    result.plan->aspectRatio.reset();
    const json settings = json::parse(written("m.mov", result, {}))["settings"];
    EXPECT_TRUE(settings["end"].is_null());
    EXPECT_TRUE(settings["aspect"].is_null());
}

TEST(JsonReport, AMovieThatWasNotOpenedHasAnErrorAndNoSettings) {
    ScanResult result;
    result.error = Error{"media", 7, "Not a movie."};
    const json document = json::parse(written("m.mov", result, {}));
    EXPECT_EQ(document["complete"], false);
    EXPECT_EQ(document["verdict"], "incomplete");
    EXPECT_TRUE(document["settings"].is_null());
    EXPECT_EQ(document["error"],
              json::parse(R"({"domain": "media", "code": 7, "description": "Not a movie."})"));
}

TEST(JsonReport, TextThatIsNotUtf8IsRepaired) {
    ScanResult result = finishedScan();
    result.error = Error{"\xFF", 1, "\xC3"};
    const json document =
        json::parse(written("m\xE9.mov", result, {{FaultKind::kOther, 0, "\x80", 0, 0, "a\xFE"}}));
    EXPECT_EQ(document["movie"], "m\uFFFD.mov");
    EXPECT_EQ(document["faults"][0]["timecode"], "\uFFFD");
    EXPECT_EQ(document["faults"][0]["message"], "a\uFFFD");
    EXPECT_EQ(document["error"]["domain"], "\uFFFD");
    EXPECT_EQ(document["error"]["description"], "\uFFFD");
}

TEST(JsonReport, QuotesAndLineBreaksInAPathAreEscaped) {
    const std::string path = "a \"b\"\n@%\\.mov";
    EXPECT_EQ(json::parse(written(path, finishedScan(), {}))["movie"], path);
}

} // namespace
} // namespace fw
