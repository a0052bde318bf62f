#include "fuzz/InputFiles.h"

#include "fuzz/check.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <system_error>

namespace fw::fuzz {
namespace {

namespace fs = std::filesystem;

/// Folders of archives may be closed to their owner.
void openFolders(const fs::path& folder) {
    ::chmod(folder.c_str(), S_IRWXU);
    std::error_code failure;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, failure)) {
        if (entry.symlink_status(failure).type() == fs::file_type::directory) {
            openFolders(entry.path());
        }
    }
}

} // namespace

ScratchFolder::ScratchFolder() {
    constexpr mode_t kForAll = 0777;
    std::string pattern = (fs::temp_directory_path() / "oxbow-fuzz-XXXXXX").string();
    check(::mkdtemp(pattern.data()) != nullptr, "there is room for a temporary folder");
    path_ = pattern;
    ::chmod(path_.c_str(), kForAll);
}

ScratchFolder::~ScratchFolder() {
    openFolders(path_);
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

MemoryFile::MemoryFile(std::span<const std::uint8_t> bytes)
    : descriptor_(::memfd_create("fuzz", MFD_CLOEXEC)),
      path_("/proc/self/fd/" + std::to_string(descriptor_)) {
    const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    check(written == static_cast<ssize_t>(bytes.size()), "there is room for a file in memory");
}

MemoryFile::~MemoryFile() {
    ::close(descriptor_);
}

void writeBytes(const std::string& path, std::span<const std::uint8_t> bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    check(file.good(), "there is room for a file");
}

} // namespace fw::fuzz
