#pragma once

#include "base/Error.h"
#include "platform/FileDescriptor.h"

#include <optional>
#include <string>

namespace fw {

/// A file beside the place where it is to stand; it goes unless it is put there.
class NewArchiveFile {
public:
    explicit NewArchiveFile(const std::string& path);
    ~NewArchiveFile();
    NewArchiveFile(const NewArchiveFile&) = delete;
    NewArchiveFile& operator=(const NewArchiveFile&) = delete;

    /// Why it could not be made.
    const std::optional<Error>& failure() const { return failure_; }
    int descriptor() const { return file_.get(); }

    /// Waits until the disk has it, and puts it in place with the rights of a new file. Nothing,
    /// or why it failed.
    [[nodiscard]] std::optional<Error> putInPlace();

private:
    std::string target_;
    std::string path_;
    FileDescriptor file_;
    std::optional<Error> failure_;
};

} // namespace fw
