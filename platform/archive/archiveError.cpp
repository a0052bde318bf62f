#include "platform/archive/archiveError.h"

#include "platform/PosixError.h"

#include <archive.h>

namespace fw {
namespace {

std::string about(const std::string& path, const std::string& reason) {
    std::string text = path;
    return text.append(": ").append(reason);
}

} // namespace

Error archiveError(archive* handle, const std::string& path) {
    const char* const reason = archive_error_string(handle);
    return archiveError(path, reason != nullptr ? reason : "unknown error");
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
