#pragma once

#include <functional>
#include <string>
#include <vector>

namespace fw {

/// What the file operations fall back to when their own rights do not suffice: each member does its
/// work with an administrator's rights and says whether that could be done. An empty member cannot.
struct FileRights {
    /// Has the rights ready, so that the others ask nobody.
    std::function<bool()> obtain;
    std::function<bool(const std::string& path)> removeFile;
    std::function<bool(const std::string& path)> trashFile;
    std::function<bool(const std::string& path)> createDirectory;
    std::function<bool(const std::string& source, const std::string& destination)> copyFile;
    std::function<bool(const std::string& source, const std::string& destination)> moveFile;
    /// Runs a tool to its end.
    std::function<bool(const std::string& tool, const std::vector<std::string>& arguments)> runTool;
};

/// Puts other rights in the place of an administrator's and returns those before. Safe from any
/// thread; an operation on its way meanwhile may still use those before.
FileRights setFileRights(FileRights rights);

/// The rights in place.
FileRights fileRights();

/// Does it with the rights in place; false when that cannot be done.
template <typename... Parameters, typename... Arguments>
bool withRights(std::function<bool(Parameters...)> FileRights::*operation,
                const Arguments&... arguments) {
    const FileRights rights = fileRights();
    return rights.*operation && (rights.*operation)(arguments...);
}

} // namespace fw
