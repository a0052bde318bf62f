#pragma once

#include "base/Error.h"
#include "platform/FileDescriptor.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace fw {

/// A log that is open for lines at its end. What it writes at once lands in one piece behind what
/// other processes write. One thread writes; it is closed when its last user lets go.
class LogFile {
public:
    /// Opens the file where it is; never makes one. Null when it cannot be opened for writing.
    static std::shared_ptr<LogFile> open(const std::string& path);

    struct Outcome {
        std::size_t bytes = 0;      ///< Written before the failure, or all.
        std::optional<Error> error; ///< Domain "POSIX".
    };
    /// Writes whole lines at the end. After a line that could be written only in part, by whomever,
    /// the next one begins on a line of its own.
    Outcome append(std::string_view lines);

private:
    explicit LogFile(FileDescriptor file) : file_(std::move(file)) {}
    Outcome write(std::string_view bytes);
    bool isLineTorn() const;

    FileDescriptor file_;
    bool mayLineBeTorn_ = true; ///< As far as is known: after opening and after failures.
};

} // namespace fw
