#include "oxbow/JsonReport.h"

#include "base/text.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace fw {
namespace {

using Json = nlohmann::ordered_json;

template <typename Value>
Json valueOrNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json settingsJson(const ScanPlan& plan) {
    return {{"start", plan.range.startFrame},
            {"end", valueOrNull(plan.range.endFrame)},
            {"depth", plan.depth},
            {"black", plan.black},
            {"white", plan.white},
            {"luma", plan.checksLuma},
            {"flash", plan.checksFlashes},
            {"flashLength", plan.flashLength},
            {"flashSensitivity", plan.flashSensitivity},
            {"aspect", valueOrNull(plan.aspectRatio)}};
}

Json faultJson(const Fault& fault) {
    return {{"kind", nameOf(fault.kind)},
            {"frame", fault.frame},
            {"timecode", repairedUtf8(fault.timecode)},
            {"value", fault.value},
            {"timescale", fault.timescale},
            {"message", repairedUtf8(fault.message)}};
}

Json errorJson(const Error& error) {
    return {{"domain", repairedUtf8(error.domain)},
            {"code", error.code},
            {"description", repairedUtf8(error.description)}};
}

/// A member of the document, on a line of its own.
std::string member(const char* key, const std::string& json) {
    return std::string("  \"") + key + "\": " + json;
}

std::string dumped(const Json& value) {
    return value.dump();
}

} // namespace

JsonReport::JsonReport(std::string movie, const Output& output)
    : movie_(std::move(movie)), output_(output) {}

void JsonReport::begin(const ScanPlan& plan) {
    writeHead(settingsJson(plan).dump());
}

void JsonReport::add(const Fault& fault) {
    output_.write((hasFaults_ ? ",\n    " : "\n    ") + faultJson(fault).dump());
    hasFaults_ = true;
}

void JsonReport::end(const ScanResult& result) {
    if (!hasBegun_) {
        writeHead("null");
    }
    const ScanTally& tally = result.tally;
    const Json frames = {{"expected", valueOrNull(tally.expectedFrames())},
                         {"reported", tally.reportedFrames()}};
    output_.write(std::string(hasFaults_ ? "\n  ],\n" : "],\n") + member("frames", frames.dump()) +
                  ",\n" + member("complete", dumped(tally.isComplete())) + ",\n" +
                  member("verdict", dumped(nameOf(tally.verdict()))) + ",\n" +
                  member("error", dumped(result.error ? errorJson(*result.error) : Json(nullptr))) +
                  "\n}\n");
}

void JsonReport::writeHead(const std::string& settings) {
    hasBegun_ = true;
    output_.write("{\n" + member("movie", dumped(repairedUtf8(movie_))) + ",\n" +
                  member("settings", settings) + ",\n  \"faults\": [");
}

} // namespace fw
