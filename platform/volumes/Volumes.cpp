#include "platform/volumes/Volumes.h"

#include "platform/volumes/mountTable.h"

#include <fstream>
#include <iterator>
#include <mutex>
#include <utility>

namespace fw {
namespace {

struct Installed {
    std::mutex mutex;
    VolumeList list;
};

/// Never destroyed: threads may ask while the program ends.
Installed& installed() {
    static auto* const instance = new Installed;
    return *instance;
}

VolumeList currentList() {
    const std::lock_guard lock(installed().mutex);
    return installed().list;
}

std::vector<Volume> machinesVolumes() {
    std::ifstream file("/proc/self/mountinfo", std::ios::binary);
    const std::string table{std::istreambuf_iterator<char>(file), {}};
    return volumesInMountTable(table);
}

} // namespace

std::vector<Volume> mountedVolumes() {
    const VolumeList list = currentList();
    return list ? list() : machinesVolumes();
}

VolumeList setVolumeList(VolumeList list) {
    const std::lock_guard lock(installed().mutex);
    return std::exchange(installed().list, std::move(list));
}

} // namespace fw
