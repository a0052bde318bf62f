#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace fw {

/// Owns an open file descriptor and closes it; -1 owns nothing.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int number) : number_(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : number_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            number_ = other.release();
        }
        return *this;
    }
    ~FileDescriptor() { reset(); }

    /// Another one for the same thing, numbered `lowest` or higher; empty, with errno, when it
    /// cannot be had.
    static FileDescriptor duplicateOf(int number, int lowest = 0) {
        return FileDescriptor(::fcntl(number, F_DUPFD_CLOEXEC, lowest));
    }

    int get() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }
    int release() { return std::exchange(number_, -1); }
    void reset() {
        if (number_ >= 0) {
            ::close(release());
        }
    }

private:
    int number_ = -1;
};

} // namespace fw
