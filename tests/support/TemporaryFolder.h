#pragma once

#include <filesystem>
#include <string>

namespace fw::test {

/// A folder of the test's own that goes with all its contents: in the temporary directory, or,
/// where that keeps no extended attributes or dates of birth, in one that does if there is any.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

} // namespace fw::test
