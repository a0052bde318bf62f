#include "oxbow/ScanPlan.h"

#include "oxbow/NumberText.h"

namespace fw {
namespace {

struct LegalLevels {
    std::int64_t black;
    std::int64_t white;
    std::int64_t highest;
};

LegalLevels legalLevels(int depth) {
    return depth == 10 ? LegalLevels{64, 940, 1023} : LegalLevels{16, 235, 255};
}

int depthFor(const ScanSettings& settings, const Asset& asset) {
    if (settings.depth) {
        return *settings.depth;
    }
    const Track* const video = asset.firstTrack(MediaType::kVideo);
    return video != nullptr && video->bitsPerComponent > 8 ? 10 : 8;
}

std::optional<std::int64_t> statedFrameCount(const Asset& asset) {
    const Track* const video = asset.firstTrack(MediaType::kVideo);
    return video != nullptr ? video->frameCount : std::nullopt;
}

std::int64_t estimatedFrames(const RangeArguments& range, const Asset& asset) {
    if (asset.firstTrack(MediaType::kVideo) == nullptr) {
        return 0;
    }
    return range.endFrame.value_or(estimatedFrameCount(asset)) - range.startFrame;
}

std::string flag(bool isSet) {
    return isSet ? "1" : "0";
}

} // namespace

Result<ScanPlan> plannedScan(const ScanSettings& settings, const Asset& asset) {
    const Result<RangeArguments> range = resolvedRange(settings.start, settings.end, asset);
    if (!range) {
        return range.error();
    }
    ScanPlan plan;
    plan.movie = settings.movie;
    plan.range = range.value();
    plan.depth = depthFor(settings, asset);
    const LegalLevels levels = legalLevels(plan.depth);
    plan.black = settings.black.value_or(levels.black);
    plan.white = settings.white.value_or(levels.white);
    if (plan.black > levels.highest || plan.white > levels.highest || plan.black >= plan.white) {
        return Error{"com.fernwick.Oxbow.usage", 0,
                     "At " + std::to_string(plan.depth) + " bits the levels lie from 0 to " +
                         std::to_string(levels.highest) + ", black below white."};
    }
    plan.checksLuma = settings.checksLuma;
    plan.checksFlashes = settings.checksFlashes;
    plan.flashLength = settings.flashLength;
    plan.flashSensitivity = settings.flashSensitivity;
    plan.aspectRatio = settings.aspectRatio;
    plan.expectedFrames = plan.range.isWholeMovie() ? statedFrameCount(asset) : std::nullopt;
    plan.estimatedFrames = plan.expectedFrames.value_or(estimatedFrames(plan.range, asset));
    return plan;
}

std::vector<std::string> scannerArguments(const ScanPlan& plan) {
    return {plan.movie,
            std::to_string(plan.range.startArgument),
            std::to_string(plan.range.endArgument),
            "0", // Reserved.
            flag(plan.checksLuma),
            std::to_string(plan.black),
            std::to_string(plan.white),
            std::to_string(plan.depth),
            flag(plan.checksFlashes),
            std::to_string(plan.flashLength),
            std::to_string(plan.flashSensitivity),
            flag(plan.aspectRatio.has_value()),
            shortestText(plan.aspectRatio.value_or(1.0))};
}

} // namespace fw
