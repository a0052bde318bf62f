#pragma once

#include <functional>
#include <string>
#include <vector>

namespace fw {

/// A file system that is mounted on this machine. Paths are bytes.
struct Volume {
    std::string mountPoint;
    std::string type;   ///< The kernel's name for it ("ext4"), but "hfs+" for "hfsplus".
    std::string source; ///< What is mounted: a device, a server's folder, or some word.
    bool isReadOnly = false;

    bool operator==(const Volume&) const = default;
};

/// The volumes that this process sees, in the kernel's order, each mount point once: what was
/// mounted there last counts. Disks, memory and what servers offer are volumes; what the kernel
/// only shows of itself as files (proc, sysfs, cgroups, ...) is none. Empty when the kernel does
/// not tell. Safe from any thread.
std::vector<Volume> mountedVolumes();

/// Puts another list in place of the machine's, for tests; an empty function puts the machine's
/// back. Returns the one before. Safe from any thread.
using VolumeList = std::function<std::vector<Volume>()>;
VolumeList setVolumeList(VolumeList list);

} // namespace fw
