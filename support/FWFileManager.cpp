#include "support/FWFileManager.h"

#include <string_view>
#include <sys/stat.h>

namespace fw {

bool FWFileManager::fileExistsAtPath(const std::string& path) {
    struct stat status {};
    // A path with a zero byte would be cut there and name another file.
    return path.find('\0') == std::string::npos && ::stat(path.c_str(), &status) == 0;
}

/// The first three components of an absolute path, joined as they are: the root's slash and one
/// more begin the text.
bool FWFileManager::isDriveMountedForPath(const std::string& path) {
    constexpr std::string_view kVolumes = "/Volumes/";
    if (!path.starts_with(kVolumes)) {
        return true;
    }
    const std::size_t begin = path.find_first_not_of('/', kVolumes.size());
    if (begin == std::string::npos) {
        return true;
    }
    const std::string name = path.substr(begin, path.find('/', begin) - begin);
    std::string volume = "//Volumes/";
    return fileExistsAtPath(volume.append(name));
}

} // namespace fw
