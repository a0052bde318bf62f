// diskutil: tells of a mounted volume as a property list.
#include "base/text.h"
#include "platform/plist/PropertyListFile.h"
#include "platform/volumes/Volumes.h"
#include "tools/toolMain.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <optional>

namespace fw {
namespace {

constexpr const char* kUsage = "usage: diskutil info -plist MOUNTPOINT";

std::optional<Volume> volumeAt(const std::string& mountPoint) {
    const std::vector<Volume> volumes = mountedVolumes();
    const std::string path = appendedPathComponent(mountPoint, ""); // Without slashes at its end.
    const auto found = std::find_if(volumes.begin(), volumes.end(), [&](const Volume& volume) {
        return volume.mountPoint == path;
    });
    return found == volumes.end() ? std::nullopt : std::optional(*found);
}

PropertyListValue byteCount(unsigned long long blocks, unsigned long blockSize) {
    return {static_cast<std::int64_t>(blocks * blockSize)};
}

/// Sizes are in bytes; what is free is what this user may still fill.
PropertyListDictionary factsOf(const Volume& volume, const struct statvfs& sizes) {
    PropertyListDictionary facts;
    facts["MountPoint"] = {volume.mountPoint};
    facts["VolumeName"] = {std::string(lastPathComponent(volume.mountPoint))};
    facts["FilesystemType"] = {volume.type};
    facts["TotalSize"] = byteCount(sizes.f_blocks, sizes.f_frsize);
    facts["FreeSpace"] = byteCount(sizes.f_bavail, sizes.f_frsize);
    facts["VolumeAllocationBlockSize"] = byteCount(1, sizes.f_frsize);
    facts["WritableVolume"] = {!volume.isReadOnly};
    if (volume.source.starts_with("/dev/")) {
        facts["DeviceNode"] = {volume.source};
        facts["DeviceIdentifier"] = {std::string(lastPathComponent(volume.source))};
    }
    return facts;
}

int info(const std::string& mountPoint) {
    const std::optional<Volume> volume = volumeAt(mountPoint);
    struct statvfs sizes {};
    if (!volume || ::statvfs(volume->mountPoint.c_str(), &sizes) != 0) {
        return failed(std::string("Could not find disk: ").append(mountPoint));
    }
    const Result<std::string> list = propertyListXml(factsOf(*volume, sizes));
    if (!list) {
        return failed(list.error().description);
    }
    std::cout << list.value() << std::flush;
    return std::cout ? kDone : failed("The list cannot be written to standard output.");
}

int run(const Arguments& arguments) {
    if (arguments.size() == 3 && arguments[0] == "info" && arguments[1] == "-plist") {
        return info(arguments[2]);
    }
    return wrongArguments(kUsage);
}

} // namespace
} // namespace fw

int main(int argc, char** argv) {
    return fw::run(fw::argumentsOf(argc, argv));
}
