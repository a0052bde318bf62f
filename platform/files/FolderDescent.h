#pragma once

#include "platform/FileDescriptor.h"
#include "platform/files/FileIdentity.h"

#include <optional>
#include <string>
#include <vector>

namespace fw {

/// The way from a folder down into its sub-folders, however deep: few of the folders on the way are
/// held open, no path is put together, and links are not followed. Results are 0 or an errno.
class FolderDescent {
public:
    explicit FolderDescent(FileDescriptor top);

    /// The folder where the way has come to, open.
    int folder() const { return levels_.back().descriptor.get(); }

    [[nodiscard]] int enter(const std::string& name);
    /// Back to the folder above; ESTALE when somebody has moved this one away from there.
    [[nodiscard]] int leave();

private:
    struct Level {
        FileDescriptor descriptor;
        std::optional<FileIdentity> identity; ///< Not of the top.
    };
    std::vector<Level> levels_;
};

/// The names in an open folder as the file system lists them, without "." and ".."; 0, or an errno.
/// Once for each opening.
[[nodiscard]] int listNames(int folder, std::vector<std::string>& names);

} // namespace fw
