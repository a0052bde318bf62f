#include "support/FWFileManager.h"

#include <sys/stat.h>

namespace fw {

bool FWFileManager::fileExistsAtPath(const std::string& path) {
    struct stat status {};
    // A path with a zero byte would be cut there and name another file.
    return path.find('\0') == std::string::npos && ::stat(path.c_str(), &status) == 0;
}

} // namespace fw
