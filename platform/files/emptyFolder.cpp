#include "platform/files/emptyFolder.h"

#include "platform/files/FolderDescent.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>
#include <vector>

namespace fw {
namespace {

/// Whether a folder that cannot be opened, for this reason, holds nothing.
bool holdsNothing(int failure) {
    return failure == EACCES || failure == ENOENT;
}

/// What counts in the open folder; false when that cannot be told.
bool listWhatCounts(int folder, const std::function<bool(std::string_view)>& countsNot,
                    std::vector<std::string>& names) {
    const int failure = listNames(folder, names);
    std::erase_if(names, countsNot);
    return failure == 0 || holdsNothing(failure);
}

} // namespace

bool isFolderWithoutFiles(const std::string& path,
                          const std::function<bool(std::string_view name)>& countsNot) {
    if (path.find('\0') != std::string::npos) {
        return false;
    }
    FileDescriptor top(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!top) {
        return holdsNothing(errno);
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
        } else if (!holdsNothing(failure)) {
            return false;
        }
    }
    return true;
}

} // namespace fw
