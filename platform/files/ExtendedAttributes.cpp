#include "platform/files/ExtendedAttributes.h"

#include "base/text.h"
#include "platform/PosixError.h"

#include <sys/xattr.h>

#include <cerrno>

namespace fw {
namespace {

constexpr std::size_t kMostBytes = 65536; // No attribute is longer.

constexpr std::string_view kPrefix = "user.";

std::string nameOnDisk(const std::string& name) {
    return std::string(kPrefix).append(name);
}

std::optional<Error> failure(int result) {
    return result == 0 ? std::nullopt : std::optional(posixError(errno));
}

} // namespace

Result<std::string> extendedAttribute(const std::string& path, const std::string& name) {
    if (holdsZeroByte(path) || holdsZeroByte(name)) {
        return posixError(EINVAL);
    }
    std::string bytes(kMostBytes, '\0');
    const ssize_t length =
        ::getxattr(path.c_str(), nameOnDisk(name).c_str(), bytes.data(), bytes.size());
    if (length < 0) {
        return posixError(errno);
    }
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

std::optional<Error> setExtendedAttribute(const std::string& path, const std::string& name,
                                          std::string_view bytes) {
    if (holdsZeroByte(path) || holdsZeroByte(name)) {
        return posixError(EINVAL);
    }
    return failure(
        ::setxattr(path.c_str(), nameOnDisk(name).c_str(), bytes.data(), bytes.size(), 0));
}

std::optional<Error> removeExtendedAttribute(const std::string& path, const std::string& name) {
    if (holdsZeroByte(path) || holdsZeroByte(name)) {
        return posixError(EINVAL);
    }
    return failure(::removexattr(path.c_str(), nameOnDisk(name).c_str()));
}

bool isAttributeOfUsers(std::string_view nameOnDisk) {
    return nameOnDisk.starts_with(kPrefix);
}

} // namespace fw
