#include "platform/archive/archiveError.h"

#include "platform/PosixError.h"

#include <archive.h>

#include <cerrno>
#include <cstring>

namespace fw {
namespace {

std::string about(const std::string& path, const std::string& reason) {
    std::string text = path;
    return text.append(": ").append(reason);
}

/// The library gives errors of its own the numbers of damaged text and of wrong arguments.
bool isOfSystem(int number) {
    return number > 0 && number != EILSEQ && number != EINVAL;
}

} // namespace

Error archiveError(archive* handle, const std::string& path) {
    const char* const text = archive_error_string(handle);
    std::string reason = text != nullptr ? text : "unknown error";
    if (isOfSystem(archive_errno(handle))) {
        reason.append(": ").append(std::strerror(archive_errno(handle)));
    }
    return archiveError(path, reason);
}

Error archiveError(const std::string& path, const std::string& reason) {
    return {"Archive", 1, about(path, reason)};
}

Error fileError(int number, const std::string& path) {
    Error error = posixError(number);
    error.description = about(path, error.description);
    return error;
}

} // namespace fw
