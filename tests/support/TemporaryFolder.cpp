#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>

namespace fw::test {

namespace {

namespace fs = std::filesystem;

/// Empty, with errno, when none can be made there.
fs::path folderIn(const fs::path& parent) {
    std::string pattern = (parent / "oxbow-test-XXXXXX").string();
    return ::mkdtemp(pattern.data()) == nullptr ? fs::path() : fs::path(pattern);
}

/// Whether its file system knows extended attributes and dates of birth.
bool keepsAttributes(const fs::path& folder) {
    constexpr const char* kName = "user.oxbow-test";
    struct statx status {};
    return ::setxattr(folder.c_str(), kName, "", 0, 0) == 0 &&
           ::removexattr(folder.c_str(), kName) == 0 &&
           ::statx(AT_FDCWD, folder.c_str(), 0, STATX_BTIME, &status) == 0 &&
           (status.stx_mask & STATX_BTIME) != 0;
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    for (const fs::path& parent : {fs::temp_directory_path(), fs::path("/var/tmp"),
                                   fs::read_symlink("/proc/self/exe").parent_path()}) {
        path_ = folderIn(parent);
        if (keepsAttributes(path_)) {
            return;
        }
        ::rmdir(path_.c_str());
    }
    path_ = folderIn(fs::temp_directory_path());
    if (path_.empty()) {
        throw std::system_error(errno, std::generic_category(), "No temporary folder");
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

} // namespace fw::test
