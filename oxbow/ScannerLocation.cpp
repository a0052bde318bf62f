#include "oxbow/ScannerLocation.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace fw {
namespace {

constexpr const char* kScannerName = "OxbowGlint";

std::filesystem::path ownFolder() {
    std::error_code unknown;
    return std::filesystem::read_symlink("/proc/self/exe", unknown).parent_path();
}

} // namespace

std::optional<std::string> scannerPath() {
    const std::filesystem::path installedFolder = FW_INSTALLED_PROGRAMS;
    for (const std::filesystem::path& folder : {ownFolder(), installedFolder}) {
        const std::string path = (folder / kScannerName).string();
        if (::access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    return std::nullopt;
}

} // namespace fw
