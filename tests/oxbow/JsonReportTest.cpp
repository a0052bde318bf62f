#include "oxbow/JsonReport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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

std::vector<std::string> keysOf(const nlohmann::ordered_json& object) {
    std::vector<std::string> keys;
    for (const auto& item : object.items()) {
        keys.push_back(item.key());
    }
    return keys;
}

TEST(JsonReport, HasItsKeysInOrderAndEndsItsLine) {
    const std::string text = jsonReport("m.mov", finishedScan(), {});
    EXPECT_TRUE(text.ends_with("}\n"));
    EXPECT_EQ(keysOf(nlohmann::ordered_json::parse(text)),
              (std::vector<std::string>{"movie", "complete", "verdict", "settings", "frames",
                                        "faults", "error"}));
}

TEST(JsonReport, ACleanScanIsCompleteWithoutFaultsOrError) {
    const json document = json::parse(jsonReport("m.mov", finishedScan(), {}));
    EXPECT_EQ(document["movie"], "m.mov");
    EXPECT_EQ(document["complete"], true);
    EXPECT_EQ(document["verdict"], "clean");
    EXPECT_EQ(document["frames"], json::parse(R"({"expected": null, "reported": 0})"));
    EXPECT_EQ(document["faults"], json::array());
    EXPECT_TRUE(document["error"].is_null());
}

TEST(JsonReport, AFaultHasAllItsFields) {
    const json document =
        json::parse(jsonReport("m.mov", finishedScan(),
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
    EXPECT_EQ(json::parse(jsonReport("m.mov", result, {}))["settings"], json::parse(R"({
        "start": 5, "end": 9, "depth": 10, "black": 64, "white": 940, "luma": false,
        "flash": true, "flashLength": 4, "flashSensitivity": 5, "aspect": 2.39})"));
    result.plan->range.endFrame.reset();
    result.plan->aspectRatio.reset();
    const json settings = json::parse(jsonReport("m.mov", result, {}))["settings"];
    EXPECT_TRUE(settings["end"].is_null());
    EXPECT_TRUE(settings["aspect"].is_null());
}

TEST(JsonReport, AMovieThatWasNotOpenedHasAnErrorAndNoSettings) {
    ScanResult result;
    result.error = Error{"media", 7, "Not a movie."};
    const json document = json::parse(jsonReport("m.mov", result, {}));
    EXPECT_EQ(document["complete"], false);
    EXPECT_EQ(document["verdict"], "incomplete");
    EXPECT_TRUE(document["settings"].is_null());
    EXPECT_EQ(document["error"],
              json::parse(R"({"domain": "media", "code": 7, "description": "Not a movie."})"));
}

TEST(JsonReport, TextThatIsNotUtf8IsRepaired) {
    ScanResult result = finishedScan();
    result.error = Error{"\xFF", 1, "\xC3"};
    const json document = json::parse(
        jsonReport("m\xE9.mov", result, {{FaultKind::kOther, 0, "\x80", 0, 0, "a\xFE"}}));
    EXPECT_EQ(document["movie"], "m\uFFFD.mov");
    EXPECT_EQ(document["faults"][0]["timecode"], "\uFFFD");
    EXPECT_EQ(document["faults"][0]["message"], "a\uFFFD");
    EXPECT_EQ(document["error"]["domain"], "\uFFFD");
    EXPECT_EQ(document["error"]["description"], "\uFFFD");
}

TEST(JsonReport, QuotesAndLineBreaksInAPathAreEscaped) {
    const std::string path = "a \"b\"\n@%\\.mov";
    EXPECT_EQ(json::parse(jsonReport(path, finishedScan(), {}))["movie"], path);
}

} // namespace
} // namespace fw
