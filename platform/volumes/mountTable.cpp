#include "platform/volumes/mountTable.h"

#include "base/text.h"
#include "platform/MountTableText.h"

#include <algorithm>
#include <array>
#include <optional>

namespace fw {
namespace {

using Fields = std::vector<std::string_view>;

/// What the kernel shows of itself as files. Types that are not known here count as volumes.
constexpr auto kKernelsOwnTypes = std::to_array<std::string_view>({
    "autofs",    "binder",  "binfmt_misc", "bpf",      "cgroup",  "cgroup2",    "configfs",
    "debugfs",   "devpts",  "devtmpfs",    "efivarfs", "fusectl", "hugetlbfs",  "mqueue",
    "nsfs",      "proc",    "pstore",      "ramfs",    "resctrl", "rpc_pipefs", "securityfs",
    "selinuxfs", "smackfs", "sysfs",       "tracefs",
});

constexpr std::size_t kMountPoint = 4;
constexpr std::size_t kOptions = 5;
/// Optional fields follow the options, up to a hyphen; type, source and options of the whole file
/// system follow that.
constexpr std::size_t kFirstOptional = 6;
constexpr std::size_t kFieldsAfterHyphen = 3;

bool saysReadOnly(std::string_view options) {
    const Fields all = splitAtAnyOf(options, ",");
    return std::find(all.begin(), all.end(), "ro") != all.end();
}

std::string suiteType(std::string_view kernelType) {
    return kernelType == "hfsplus" ? "hfs+" : decodedMountField(kernelType);
}

std::optional<Volume> volumeInLine(std::string_view line) {
    const Fields fields = splitAtAnyOf(line, " ");
    if (fields.size() < kFirstOptional) {
        return std::nullopt;
    }
    const auto hyphen = std::find(fields.begin() + kFirstOptional, fields.end(), "-");
    if (fields.end() - hyphen <= static_cast<std::ptrdiff_t>(kFieldsAfterHyphen)) {
        return std::nullopt;
    }
    return Volume{.mountPoint = decodedMountField(fields[kMountPoint]),
                  .type = suiteType(hyphen[1]),
                  .source = decodedMountField(hyphen[2]),
                  .isReadOnly = saysReadOnly(fields[kOptions]) || saysReadOnly(hyphen[3])};
}

bool isKernelsOwn(const Volume& volume) {
    return std::find(kKernelsOwnTypes.begin(), kKernelsOwnTypes.end(), volume.type) !=
           kKernelsOwnTypes.end();
}

} // namespace

std::vector<Volume> volumesInMountTable(std::string_view table) {
    std::vector<Volume> volumes;
    for (const std::string_view line : splitAtAnyOf(table, "\n")) {
        std::optional<Volume> volume = volumeInLine(line);
        if (!volume) {
            continue;
        }
        const auto covered = std::find_if(volumes.begin(), volumes.end(), [&](const Volume& other) {
            return other.mountPoint == volume->mountPoint;
        });
        if (covered != volumes.end()) {
            *covered = *std::move(volume);
        } else {
            volumes.push_back(*std::move(volume));
        }
    }
    std::erase_if(volumes, isKernelsOwn);
    return volumes;
}

} // namespace fw
