#pragma once

#include "support/FWFileManager.h"
#include "support/files/FileRights.h"
#include "tests/suite/FileTest.h"
#include "tests/support/TestHome.h"

#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

namespace fw::test {

/// A test of file operations with a home, and so a trash, of its own. No administrator's rights are
/// asked for: what would be is noted.
class FileOperationTest : public FileTest {
protected:
    FileOperationTest();

    void SetUp() override;

    std::string folder(const std::string& name) const;
    std::string link(const std::string& target, const std::string& name) const;
    std::string fifo(const std::string& name) const;
    /// A folder "MADE/d/d/…" so deep; its path is not too long.
    std::string deepFolder(const std::string& name, int depth) const;
    std::string trash() const { return home_.file(".Trash"); }
    std::string trashed(const std::string& name) const { return trash() + "/" + name; }
    /// Names in a folder as the file system lists them.
    std::vector<std::string> listedIn(const std::string& path) const;
    /// Names in a folder, sorted.
    std::vector<std::string> namesIn(const std::string& path) const;
    mode_t modeOf(const std::string& path) const;
    std::size_t openDescriptors() const;

    /// Renames between folders fail as if they were on different file systems.
    void setFoldersApart();
    /// They do, and right before this folder is removed a file "late" comes into it, of which the
    /// file system tells by this error.
    void fillAtRemoval(const std::string& folder, int error);
    /// The n-th read fails, counted from 1.
    void failRead(int number);
    /// Something happens before the n-th read, which fails unless `failure` is 0.
    void atRead(int number, std::function<void()> happens, int failure = 0);

    std::vector<std::string> asked; ///< The rights that were asked for, with their paths.
    bool answer = false;            ///< To what is asked for.
    std::function<void()> whenAsked = [] {
    };

private:
    bool note(const std::string& text);

    TestHome home_;
    FileCalls calls_;
};

/// No more than so many descriptors while this lives.
class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t count) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit few{count, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

private:
    rlimit before_{};
};

/// A folder of another mode while this lives.
class FolderMode {
public:
    FolderMode(std::string path, mode_t mode) : path_(std::move(path)) {
        ::chmod(path_.c_str(), mode);
    }
    ~FolderMode() { ::chmod(path_.c_str(), 0755); }
    FolderMode(const FolderMode&) = delete;
    FolderMode& operator=(const FolderMode&) = delete;

private:
    std::string path_;
};

/// A folder that nobody may change while this lives.
struct ReadOnly : FolderMode {
    explicit ReadOnly(std::string path) : FolderMode(std::move(path), 0555) {}
};

/// A folder that nobody may look into while this lives.
struct Closed : FolderMode {
    explicit Closed(std::string path) : FolderMode(std::move(path), 0) {}
};

} // namespace fw::test
