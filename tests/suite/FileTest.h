#pragma once

#include "platform/files/fileCalls.h"
#include "support/files/FileRights.h"
#include "support/files/runInBackground.h"
#include "tests/suite/SuiteLog.h"
#include "tests/support/FileText.h"
#include "tests/support/SmallFiles.h"
#include "tests/support/SystemLogCapture.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fw::test {

/// Waits as long as it takes; the time limit of the test ends what never comes.
template <typename Claim>
void waitUntil(Claim claim) {
    while (!claim()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

/// Chunk and question step of the file operations.
constexpr std::size_t kChunk = 65536;
constexpr std::uint64_t kFiftyMebibytes = 52'428'800;

/// So many bytes, no two chunks alike.
std::string someBytes(std::size_t count);

/// For setFileCalls(): the reading of a source of which the call of that number, counted from 1,
/// and all later ones fail, the one before giving only so many bytes.
struct FailingRead {
    int number;
    std::size_t bytesBefore;

    ssize_t operator()(int descriptor, void* bytes, std::size_t count) {
        --number;
        if (number <= 0) {
            errno = EIO;
            return -1;
        }
        return ::read(descriptor, bytes, number == 1 ? bytesBefore : count);
    }
};

/// A test of file operations in a folder of its own, in a process whose log lies in a home of its
/// own.
class FileTest : public testing::Test {
protected:
    ~FileTest() override {
        setFileRights(std::move(rights_));
        setFileCalls({});
    }

    std::vector<std::string> logged() const { return log_.texts(); }
    std::vector<std::string> systemLogged() const { return systemLog_.linesUpToNow(); }

    /// Those that operations fall back to outside of tests.
    const FileRights& rightsOfSuite() const { return rights_; }

    std::string path(const std::string& name) const { return folder_.file(name); }
    std::string made(const std::string& name, std::string_view bytes) const {
        writeText(path(name), bytes);
        return path(name);
    }
    /// A file of zero bytes that takes no room.
    std::string madeSparse(const std::string& name, std::uint64_t size) const {
        std::ofstream(path(name)).close();
        std::filesystem::resize_file(path(name), size);
        return path(name);
    }
    /// A new folder whose path has so many bytes.
    std::string longFolder(std::size_t length) const;
    std::string contents(const std::string& name) const { return readText(path(name)); }
    bool exists(const std::string& name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(path(name)));
    }

private:
    FileRights rights_ = setFileRights({}); ///< None may be had in tests.
    TemporaryFolder folder_;
    SuiteLog log_;
    SystemLogCapture systemLog_;
};

} // namespace fw::test
