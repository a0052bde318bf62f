#include "platform/process/RunningProgram.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string_view>

namespace fw {
namespace {

constexpr const char* kLink = "/proc/self/exe";

/// The text of a symbolic link; empty when it cannot be read.
std::string linkText(const char* link) {
    std::string text(256, '\0');
    for (;;) {
        const ssize_t length = ::readlink(link, text.data(), text.size());
        if (length < 0) {
            return {};
        }
        if (static_cast<std::size_t>(length) < text.size()) {
            text.resize(static_cast<std::size_t>(length));
            return text;
        }
        text.resize(text.size() * 2);
    }
}

bool areSameFile(const char* one, const char* other) {
    struct stat first = {};
    struct stat second = {};
    return ::stat(one, &first) == 0 && ::stat(other, &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

} // namespace

std::string runningExecutable() {
    // The system appends this to the path of a file that is gone; a file may also be named so.
    constexpr std::string_view kGone = " (deleted)";
    std::string path = linkText(kLink);
    if (path.ends_with(kGone) && !areSameFile(path.c_str(), kLink)) {
        path.resize(path.size() - kGone.size());
    }
    return path;
}

} // namespace fw
