#include "oxbow/JsonReport.h"

#include "base/text.h"

#include <nlohmann/json.hpp>

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

} // namespace

std::string jsonReport(const std::string& movie, const ScanResult& result,
                       const std::vector<Fault>& faults) {
    const ScanTally& tally = result.tally;
    Json document;
    document["movie"] = repairedUtf8(movie);
    document["complete"] = tally.isComplete();
    document["verdict"] = nameOf(tally.verdict());
    document["settings"] = result.plan ? settingsJson(*result.plan) : Json(nullptr);
    document["frames"] = {{"expected", valueOrNull(tally.expectedFrames())},
                          {"reported", tally.reportedFrames()}};
    document["faults"] = Json::array();
    for (const Fault& fault : faults) {
        document["faults"].push_back(faultJson(fault));
    }
    document["error"] = result.error ? errorJson(*result.error) : Json(nullptr);
    return document.dump(2) + "\n";
}

} // namespace fw
