#include "platform/elevation/SecretText.h"

#include "platform/PosixError.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace fw {
namespace {

constexpr std::size_t kRoom = SecretText::kLongest + 1;

bool isLine(std::string_view text) {
    constexpr std::string_view kEnds("\n\0", 2);
    return text.size() <= SecretText::kLongest &&
           text.find_first_of(kEnds) == std::string_view::npos;
}

} // namespace

Result<SecretText> SecretText::kept(std::string_view text) {
    if (!isLine(text)) {
        return posixError(EINVAL);
    }
    void* const memory =
        ::mmap(nullptr, kRoom, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        return posixError(errno);
    }
    SecretText secret;
    secret.memory_ = static_cast<char*>(memory);
    if (::mlock(memory, kRoom) != 0 || ::madvise(memory, kRoom, MADV_DONTDUMP) != 0) {
        return posixError(errno);
    }
    std::copy(text.begin(), text.end(), secret.memory_);
    secret.memory_[text.size()] = '\n';
    secret.length_ = text.size() + 1;
    return secret;
}

SecretText::SecretText(SecretText&& other) noexcept
    : memory_(std::exchange(other.memory_, nullptr)), length_(std::exchange(other.length_, 0)) {}

SecretText& SecretText::operator=(SecretText&& other) noexcept {
    if (this != &other) {
        wipe();
        memory_ = std::exchange(other.memory_, nullptr);
        length_ = std::exchange(other.length_, 0);
    }
    return *this;
}

void SecretText::wipe() {
    if (memory_ != nullptr) {
        ::explicit_bzero(memory_, kRoom);
        ::munmap(std::exchange(memory_, nullptr), kRoom); // Unlocks it, too.
        length_ = 0;
    }
}

Result<FileDescriptor> SecretText::asLines(int count) const {
    std::array<int, 2> ends = {};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return posixError(errno);
    }
    FileDescriptor readingEnd(ends[0]);
    const FileDescriptor writingEnd(ends[1]);
    // The smallest pipe takes them all, so that nothing waits here.
    for (int line = 0; line < count; ++line) {
        if (::write(writingEnd.get(), memory_, length_) < 0) {
            return posixError(errno);
        }
    }
    return readingEnd;
}

} // namespace fw
