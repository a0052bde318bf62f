#include "platform/files/emptyFolder.h"

#include "base/text.h"
#include "platform/files/FolderDescent.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace fw {
namespace {

/// Whether what cannot be opened, for this reason, counts as an empty folder. What may not be
/// opened must be seen to be a folder: in one that may be listed but not searched it may be a file.
bool isGoneOrUnreadable(int folder, const std::string& path, int flags, int failure) {
    struct stat status {};
    return failure == ENOENT ||
           (failure == EACCES && ::fstatat(folder, path.c_str(), &status, flags) == 0 &&
            S_ISDIR(status.st_mode));
}

/// What counts in the open folder; false when that cannot be told.
bool listWhatCounts(int folder, const std::function<bool(std::string_view)>& countsNot,
                    std::vector<std::string>& names) {
    const int failure = listNames(folder, names);
    std::erase_if(names, countsNot);
    return failure == 0 || failure == ENOENT;
}

} // namespace

bool isFolderWithoutFiles(const std::string& path,
                          const std::function<bool(std::string_view name)>& countsNot) {
    if (holdsZeroByte(path)) {
        return false;
    }
    FileDescriptor top(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!top) {
        return isGoneOrUnreadable(AT_FDCWD, path, 0, errno);
    }
    FolderDescent way(std::move(top));
    std::vector<std::vector<std::string>> left(1); // In each folder on the way.
    if (!listWhatCounts(way.folder(), countsNot, left.back())) {
        return false;
    }
    while (!left.empty()) {
        if (left.back().empty()) {
            left.pop_back();
            if (!left.empty() && way.leave() != 0) {
                return false;
            }
            continue;
        }
        const std::string name = std::move(left.back().back());
        left.back().pop_back();
        if (const int failure = way.enter(name); failure == 0) {
            left.emplace_back();
            if (!listWhatCounts(way.folder(), countsNot, left.back())) {
                return false;
            }
        } else if (!isGoneOrUnreadable(way.folder(), name, AT_SYMLINK_NOFOLLOW, failure)) {
            return false;
        }
    }
    return true;
}

} // namespace fw
