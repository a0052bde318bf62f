#include "platform/connection/RuntimeFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace fw {
namespace {

/// lstat follows a link when a slash stands behind it.
std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

} // namespace

std::vector<RuntimeFolder> standardRuntimeFolders() {
    const std::string user = std::to_string(::geteuid());
    std::vector<RuntimeFolder> folders;
    const char* const given = std::getenv("XDG_RUNTIME_DIR");
    if (given != nullptr && given[0] == '/') {
        folders.push_back({withoutTrailingSlashes(given), false});
    }
    folders.push_back({"/run/user/" + user, false});
    folders.push_back({"/tmp/oxbow-" + user, true});
    return folders;
}

bool isPrivateFolder(const std::string& path) {
    struct stat facts = {};
    return ::lstat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) &&
           facts.st_uid == ::geteuid() && (facts.st_mode & 0777U) == 0700U;
}

} // namespace fw
