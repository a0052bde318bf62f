#include "tests/support/LeasedFile.h"

#include "platform/FileDescriptor.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fw::test {
namespace {

constexpr timespec kLongest{60, 0}; // The kernel itself takes a lease away after 45 s.
constexpr int kGiveUp = SIGUSR1;

/// The process that holds it; only calls that are allowed after a fork among threads.
[[noreturn]] void hold(const char* path, const timespec& moment, int toldWhenHeld) {
    sigset_t broken;
    sigset_t told;
    sigemptyset(&broken);
    sigemptyset(&told);
    sigaddset(&broken, SIGIO);
    sigaddset(&told, kGiveUp);
    ::sigprocmask(SIG_BLOCK, &broken, nullptr);
    ::sigprocmask(SIG_BLOCK, &told, nullptr);
    const int file = ::open(path, O_RDWR | O_CLOEXEC);
    if (file < 0 || ::fcntl(file, F_SETLEASE, F_WRLCK) != 0 || ::write(toldWhenHeld, "x", 1) != 1 ||
        ::sigtimedwait(&broken, nullptr, &kLongest) != SIGIO) {
        ::_exit(EXIT_FAILURE);
    }
    ::sigtimedwait(&told, nullptr, &moment);
    ::fcntl(file, F_SETLEASE, F_UNLCK);
    ::_exit(EXIT_SUCCESS);
}

} // namespace

LeasedFile::LeasedFile(const std::string& path, std::chrono::milliseconds moment) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(moment);
    const timespec time{seconds.count(), std::chrono::nanoseconds(moment - seconds).count()};
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return;
    }
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    holder_ = ::fork();
    if (holder_ == 0) {
        hold(path.c_str(), time, writing.get());
    }
    writing.reset();
    char told = 0;
    isHeld_ = ::read(reading.get(), &told, 1) == 1;
}

LeasedFile::~LeasedFile() {
    if (holder_ > 0) {
        ::kill(holder_, SIGKILL);
        end();
    }
}

void LeasedFile::giveUp() const {
    if (holder_ > 0) {
        ::kill(holder_, kGiveUp);
    }
}

bool LeasedFile::wasGivenUp() {
    end();
    return WIFEXITED(status_) && WEXITSTATUS(status_) == EXIT_SUCCESS;
}

void LeasedFile::end() {
    if (holder_ > 0) {
        ::waitpid(holder_, &status_, 0);
        holder_ = -1;
    }
}

} // namespace fw::test
