#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/mount.h>
#include <utility>

namespace fw::test {

/// A file system in memory while this lives.
class MemoryDisk {
public:
    MemoryDisk(std::string path, const std::string& size) : path_(std::move(path)) {
        std::filesystem::create_directories(path_);
        EXPECT_EQ(::mount("tmpfs", path_.c_str(), "tmpfs", 0, ("size=" + size).c_str()), 0);
    }
    ~MemoryDisk() { ::umount2(path_.c_str(), MNT_DETACH); }
    MemoryDisk(const MemoryDisk&) = delete;
    MemoryDisk& operator=(const MemoryDisk&) = delete;

private:
    std::string path_;
};

} // namespace fw::test
