#pragma once

#include "base/Error.h"

#include <optional>
#include <string>

namespace fw {

/// The folder that an archive is unpacked into: the wanted one when it exists, else a new one
/// beside it, which goes with all its contents unless it is put in the wanted one's place.
class UnpackFolder {
public:
    explicit UnpackFolder(const std::string& wanted);
    ~UnpackFolder();
    UnpackFolder(const UnpackFolder&) = delete;
    UnpackFolder& operator=(const UnpackFolder&) = delete;

    /// Why there is none.
    const std::optional<Error>& failure() const { return failure_; }
    /// Absolute, without links.
    const std::string& path() const { return path_; }

    /// Nothing, or why it failed.
    [[nodiscard]] std::optional<Error> putInPlace();

private:
    void makeBeside(const std::string& wanted);

    std::string wanted_;
    std::string path_;
    bool isOurs_ = false;
    std::optional<Error> failure_;
};

} // namespace fw
