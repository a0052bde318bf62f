#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace fw::fuzz {

/// A folder for one input, which anyone may write to; it goes with all its contents.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string file(const char* name) const { return (path_ / name).string(); }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// Bytes in memory under the path of a file.
class MemoryFile {
public:
    explicit MemoryFile(std::span<const std::uint8_t> bytes);
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    const std::string& path() const { return path_; }

private:
    int descriptor_;
    std::string path_;
};

void writeBytes(const std::string& path, std::span<const std::uint8_t> bytes);

} // namespace fw::fuzz
