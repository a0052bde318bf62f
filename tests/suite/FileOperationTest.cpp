#include "tests/suite/FileOperationTest.h"

#include "platform/files/Folders.h"
#include "support/FWLocalPaths.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <unistd.h>
#include <utility>

namespace fw::test {
namespace fs = std::filesystem;

FileOperationTest::FileOperationTest() {
    FileRights rights;
    rights.obtain = [] {
        return true;
    };
    rights.removeFile = [this](const std::string& path) {
        return note("remove " + path);
    };
    rights.trashFile = [this](const std::string& path) {
        return note("trash " + path);
    };
    rights.createDirectory = [this](const std::string& path) {
        return note("create " + path);
    };
    rights.copyFile = [this](const std::string& from, const std::string& to) {
        return note("copy " + from + " " + to);
    };
    rights.moveFile = [this](const std::string& from, const std::string& to) {
        return note("move " + from + " " + to);
    };
    rights.runTool = [this](const std::string& tool, const std::vector<std::string>& arguments) {
        std::string text = "run " + tool;
        for (const std::string& argument : arguments) {
            text += " " + argument;
        }
        return note(text);
    };
    setFileRights(std::move(rights));
}

void FileOperationTest::SetUp() {
    ASSERT_EQ(FWLocalPaths::trashDirectory(), trash()) << "never somebody's real trash";
}

bool FileOperationTest::note(const std::string& text) {
    asked.push_back(text);
    whenAsked();
    return answer;
}

std::string FileOperationTest::folder(const std::string& name) const {
    fs::create_directories(path(name));
    return path(name);
}

std::string FileOperationTest::link(const std::string& target, const std::string& name) const {
    fs::create_symlink(target, path(name));
    return path(name);
}

std::string FileOperationTest::fifo(const std::string& name) const {
    EXPECT_EQ(::mkfifo(path(name).c_str(), 0600), 0);
    return path(name);
}

std::string FileOperationTest::deepFolder(const std::string& name, int depth) const {
    std::string deep = name;
    for (int i = 0; i < depth; ++i) {
        deep += "/d";
    }
    EXPECT_EQ(makeFolder(path(deep)), std::nullopt);
    return path(deep);
}

std::vector<std::string> FileOperationTest::listedIn(const std::string& path) const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

std::vector<std::string> FileOperationTest::namesIn(const std::string& path) const {
    std::vector<std::string> names = listedIn(path);
    std::sort(names.begin(), names.end());
    return names;
}

mode_t FileOperationTest::modeOf(const std::string& path) const {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

std::size_t FileOperationTest::openDescriptors() const {
    const fs::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

void FileOperationTest::setFoldersApart() {
    calls_.rename = [](int, const char*, int, const char*, unsigned) {
        errno = EXDEV;
        return -1;
    };
    setFileCalls(calls_);
}

void FileOperationTest::fillAtRemoval(const std::string& folder, int error) {
    calls_.unlink = [folder, error](int from, const char* name, int flags) {
        const bool isIt = fs::path(folder).filename() == name;
        if (isIt) {
            writeText(folder + "/late", "late");
        }
        const int result = ::unlinkat(from, name, flags);
        errno = isIt && result != 0 ? error : errno;
        return result;
    };
    setFoldersApart();
}

void FileOperationTest::failRead(int number) {
    atRead(
        number, [] {}, EIO);
}

void FileOperationTest::atRead(int number, std::function<void()> happens, int failure) {
    calls_.read = [left = number, happens = std::move(happens),
                   failure](int descriptor, void* bytes, std::size_t count) mutable {
        if (--left == 0) {
            happens();
            if (failure != 0) {
                errno = failure;
                return ssize_t{-1};
            }
        }
        return ::read(descriptor, bytes, count);
    };
    setFileCalls(calls_);
}

} // namespace fw::test
