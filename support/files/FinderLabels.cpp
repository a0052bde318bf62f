#include "platform/files/FinderInfo.h"
#include "support/FWFileManager.h"

#include <array>

namespace fw {
namespace {

/// Of the labels 1 to 7.
constexpr std::array<FinderColor, 7> kColors = {{
    {0.0, 0.0, 0.72, 1.0},     // grey
    {0.2056, 0.5, 0.85, 1.0},  // green
    {0.7917, 0.26, 0.86, 1.0}, // purple
    {0.5789, 0.56, 0.98, 1.0}, // blue
    {0.1388, 0.54, 0.95, 1.0}, // yellow
    {0.0083, 0.54, 1.0, 1.0},  // red
    {0.0888, 0.52, 0.98, 1.0}, // orange
}};

bool canHaveLabel(const std::string& path) {
    return FWFileManager::fileExistsAtPath(path) && FWFileManager::isMacFilesystemAtPath(path);
}

bool isColor(std::int64_t index) {
    return index >= 1 && index <= static_cast<std::int64_t>(kColors.size());
}

} // namespace

std::int64_t FWFileManager::finderColorIndexForPath(const std::string& path) {
    return canHaveLabel(path) ? FinderInfo::of(path).label() : 0;
}

void FWFileManager::setFinderColorIndex(std::int64_t index, const std::string& path) {
    if ((index != 0 && !isColor(index)) || !canHaveLabel(path)) {
        return;
    }
    FinderInfo info = FinderInfo::of(path);
    if (info.takeLabel(static_cast<unsigned>(index))) {
        static_cast<void>(info.writeTo(path)); // A file without its label is none the worse.
    }
}

std::optional<FinderColor> FWFileManager::finderColorForPath(const std::string& path) {
    return finderColorForColorIndex(finderColorIndexForPath(path));
}

std::optional<FinderColor> FWFileManager::finderColorForColorIndex(std::int64_t index) {
    return isColor(index) ? std::optional(kColors[static_cast<std::size_t>(index - 1)])
                          : std::nullopt;
}

} // namespace fw
