#include "platform/files/Location.h"

#include "base/text.h"
#include "platform/PosixError.h"
#include "platform/files/Folders.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

namespace fw {
namespace {

/// 0, or why nothing can be done to an entry of this name.
int unsuitableName(std::string_view name) {
    if (name.empty()) {
        return ENOENT;
    }
    if (name == "/") {
        return EBUSY;
    }
    return name == "." || name == ".." ? EINVAL : 0;
}

} // namespace

Result<Location> Location::of(const std::string& path) {
    if (holdsZeroByte(path)) {
        return posixError(EINVAL);
    }
    const std::string_view name = lastPathComponent(path);
    if (const int failure = unsuitableName(name); failure != 0) {
        return posixError(failure);
    }
    FileDescriptor folder(::open(parentFolder(path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return posixError(errno);
    }
    return Location{std::move(folder), std::string(name)};
}

Result<Location> Location::duplicate() const {
    FileDescriptor own = FileDescriptor::duplicateOf(folder.get());
    if (!own) {
        return posixError(errno);
    }
    return Location{std::move(own), name};
}

} // namespace fw
