#include "platform/files/FolderDescent.h"

#include <dirent.h>
#include <fcntl.h>

#include <cerrno>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace fw {
namespace {

constexpr std::size_t kMostOpen = 32;
constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

} // namespace

FolderDescent::FolderDescent(FileDescriptor top) {
    levels_.push_back({std::move(top), {}});
}

int FolderDescent::enter(const std::string& name) {
    FileDescriptor next(::openat(folder(), name.c_str(), kFlags));
    if (!next) {
        return errno;
    }
    const std::optional<FileIdentity> identity = fileIdentity(next);
    levels_.push_back({std::move(next), identity});
    // Never the top, which may lie where nothing can be opened for reading.
    if (levels_.size() > kMostOpen) {
        levels_[levels_.size() - kMostOpen].descriptor.reset();
    }
    return 0;
}

int FolderDescent::leave() {
    const Level left = std::move(levels_.back());
    levels_.pop_back();
    Level& level = levels_.back();
    if (level.descriptor) {
        return 0;
    }
    level.descriptor = FileDescriptor(::openat(left.descriptor.get(), "..", kFlags));
    if (!level.descriptor) {
        return errno;
    }
    return fileIdentity(level.descriptor) == level.identity ? 0 : ESTALE;
}

int listNames(int folder, std::vector<std::string>& names) {
    FileDescriptor own = FileDescriptor::duplicateOf(folder);
    const std::unique_ptr<DIR, int (*)(DIR*)> list(own ? ::fdopendir(own.get()) : nullptr,
                                                   ::closedir);
    if (!list) {
        return errno;
    }
    own.release(); // The list's now.
    errno = 0;
    while (const dirent* const entry = ::readdir(list.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0;
    }
    return errno;
}

} // namespace fw
