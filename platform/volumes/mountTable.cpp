#include "platform/volumes/mountTable.h"

#include "base/text.h"

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

bool isOctalDigit(char c) {
    return c >= '0' && c <= '7';
}

/// Blanks, tabs, line ends and backslashes stand there as a backslash and three octal digits.
std::string decoded(std::string_view field) {
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const std::string_view digits = field.substr(i + 1, 3);
        const bool isEscape = field[i] == '\\' && digits.size() == 3 &&
                              std::all_of(digits.begin(), digits.end(), isOctalDigit);
        if (!isEscape) {
            text += field[i];
            continue;
        }
        const int byte = (digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0');
        text += static_cast<char>(static_cast<unsigned char>(byte & 0xFF));
        i += digits.size();
    }
    return text;
}

bool saysReadOnly(std::string_view options) {
    const Fields all = splitAtAnyOf(options, ",");
    return std::find(all.begin(), all.end(), "ro") != all.end();
}

std::string suiteType(std::string_view kernelType) {
    return kernelType == "hfsplus" ? "hfs+" : decoded(kernelType);
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
    return Volume{.mountPoint = decoded(fields[kMountPoint]),
                  .type = suiteType(hyphen[1]),
                  .source = decoded(hyphen[2]),
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
