#include "platform/workspace/applicationLaunch.h"

#include "base/text.h"
#include "platform/process/ChildProcess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

namespace fw {
namespace {

bool isExecutable(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

std::optional<std::string> onlyExecutableIn(const std::string& folder) {
    std::optional<std::string> only;
    std::error_code failure;
    for (std::filesystem::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string path = entry->path().string();
        if (!isExecutable(path)) {
            continue;
        }
        if (only) {
            return std::nullopt;
        }
        only = path;
    }
    return only;
}

std::string_view nameWithoutExtension(std::string_view path) {
    constexpr std::string_view kExtension = ".app";
    std::string_view name = lastPathComponent(path);
    if (name.ends_with(kExtension) && name != kExtension) {
        name.remove_suffix(kExtension.size());
    }
    return name;
}

std::optional<std::string> executableOf(const std::string& application) {
    if (isExecutable(application)) {
        return application;
    }
    const std::string_view name = nameWithoutExtension(application);
    const std::string programs = appendedPathComponent(application, "Contents/MacOS");
    if (std::string program = appendedPathComponent(programs, name); isExecutable(program)) {
        return program;
    }
    if (std::optional<std::string> program = onlyExecutableIn(programs)) {
        return program;
    }
    std::string program = appendedPathComponent(application, name);
    return isExecutable(program) ? std::optional(std::move(program)) : std::nullopt;
}

/// Empty when the current folder is not known.
std::string absolutePath(const std::string& path) {
    std::error_code failure;
    return std::filesystem::absolute(path, failure).string();
}

/// The system would take the path up to a zero byte for the whole.
bool isUsable(const std::string& path) {
    return !path.empty() && !holdsZeroByte(path);
}

} // namespace

bool launchApplication(const std::string& file, const std::string& applicationPath) {
    if (!isUsable(file) || !isUsable(applicationPath)) {
        return false;
    }
    const std::optional<std::string> program = executableOf(absolutePath(applicationPath));
    const std::string argument = absolutePath(file);
    if (!program || argument.empty()) {
        return false;
    }
    ChildProcessOptions options;
    options.path = *program;
    options.arguments = {argument};
    options.standardOutput = ChildStream::kNull;
    options.standardError = ChildStream::kNull;
    options.session = ChildSession::kOwn;
    options.whenReleased = WhenReleased::kLeave;
    return static_cast<bool>(ChildProcess::start(options));
}

} // namespace fw
