#include "platform/volumes/Volumes.h"

#include "base/text.h"
#include "support/FWFileManager.h"

#include <algorithm>
#include <string_view>

namespace fw {
namespace {

constexpr std::string_view kVolumes = "/Volumes";

/// The first components of an absolute path, at most three, the root's slash among them.
std::vector<std::string_view> leadingComponents(std::string_view path) {
    constexpr std::size_t kMost = 3;
    std::vector<std::string_view> components = {"/"};
    for (const std::string_view piece : splitAtAnyOf(path, "/")) {
        if (!piece.empty() && components.size() < kMost) {
            components.push_back(piece);
        }
    }
    return components;
}

/// Whether the first three components, joined as they are, exist; the root's slash and one more
/// begin that text. True for a path that has fewer or does not begin with the prefix.
bool isMountedBelow(std::string_view prefix, const std::string& path) {
    const std::vector<std::string_view> components = leadingComponents(path);
    if (!path.starts_with(prefix) || components.size() < 3) {
        return true;
    }
    std::string volume(components[0]);
    volume.append("/").append(components[1]).append("/").append(components[2]);
    return FWFileManager::fileExistsAtPath(volume);
}

bool isAtOrBelow(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

std::optional<std::string> mountPointAmong(const std::vector<Volume>& volumes,
                                           const std::string& path) {
    const auto holder = std::find_if(volumes.begin(), volumes.end(), [&](const Volume& volume) {
        return volume.mountPoint != "/" && isAtOrBelow(path, volume.mountPoint);
    });
    if (holder != volumes.end()) {
        return holder->mountPoint;
    }
    return path.starts_with(kVolumes) ? std::nullopt : std::optional<std::string>("/");
}

} // namespace

bool FWFileManager::isDriveMountedForPath(const std::string& path) {
    return isMountedBelow("/Volumes/", path);
}

bool FWFileManager::isVolumeMountedForPath(const std::string& path) {
    return isMountedBelow(kVolumes, path);
}

std::optional<std::string> FWFileManager::volumeMountPointForPath(const std::string& path) {
    return mountPointAmong(mountedVolumes(), path);
}

std::string FWFileManager::filesystemForPath(const std::string& path) {
    const std::vector<Volume> volumes = mountedVolumes();
    const std::optional<std::string> mountPoint = mountPointAmong(volumes, path);
    const auto volume = std::find_if(volumes.begin(), volumes.end(), [&](const Volume& one) {
        return one.mountPoint == mountPoint;
    });
    return volume == volumes.end() ? std::string() : volume->type;
}

bool FWFileManager::isMacFilesystemAtPath(const std::string& path) {
    const std::string type = lowerCased(filesystemForPath(path));
    return type == "hfs" || type == "hfs+" || type == "apfs";
}

} // namespace fw
