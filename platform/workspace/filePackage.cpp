#include "platform/workspace/filePackage.h"

#include "base/text.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace fw {
namespace {

constexpr auto kExtensions = std::to_array<std::string_view>(
    {"app", "bundle", "component", "fcpbundle", "imovielibrary", "kext", "mdimporter", "mpkg",
     "photoslibrary", "pkg", "plugin", "prefpane", "qlgenerator", "rtfd", "saver", "xpc"});

bool hasType(const std::string& path, mode_t type) {
    struct stat status {};
    return !holdsZeroByte(path) && ::stat(path.c_str(), &status) == 0 &&
           (status.st_mode & S_IFMT) == type;
}

} // namespace

bool isFilePackage(const std::string& path) {
    if (!hasType(path, S_IFDIR)) {
        return false;
    }
    const std::string extension = lowerCased(pathExtension(path));
    return std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end() ||
           hasType(appendedPathComponent(path, "Contents/Info.plist"), S_IFREG);
}

} // namespace fw
