#pragma once

#include "platform/volumes/Volumes.h"

#include <filesystem>
#include <optional>
#include <string>

namespace fw::test {

/// The volume that a file that exists lies on; nothing where none that holds it is to be seen, as
/// in a folder that a program takes for the root.
inline std::optional<Volume> volumeHolding(const std::filesystem::path& path) {
    const std::string place = std::filesystem::canonical(path).string() + "/";
    std::optional<Volume> nearest;
    for (const Volume& volume : mountedVolumes()) {
        const bool holds = volume.mountPoint == "/" || place.starts_with(volume.mountPoint + "/");
        if (holds && (!nearest || nearest->mountPoint.size() < volume.mountPoint.size())) {
            nearest = volume;
        }
    }
    return nearest;
}

} // namespace fw::test
