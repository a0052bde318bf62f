#include "platform/crash/AlternateStack.h"

#include <sys/mman.h>
#include <unistd.h>

namespace fw {
namespace {

/// What the report takes, generously, besides what the machine itself saves. Pages that are not
/// used cost no memory.
constexpr std::size_t kRoomForReport = std::size_t{256} * 1024;

std::size_t pageSize() {
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::size_t stackSize() {
    const auto savedByMachine = static_cast<std::size_t>(::sysconf(_SC_SIGSTKSZ));
    const std::size_t page = pageSize();
    return (savedByMachine + kRoomForReport + page - 1) / page * page;
}

} // namespace

AlternateStack::AlternateStack() {
    const std::size_t guard = pageSize();
    const std::size_t size = guard + stackSize();
    void* const memory = ::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        return;
    }
    stack_t stack = {};
    stack.ss_sp = static_cast<char*>(memory) + guard;
    stack.ss_size = size - guard;
    if (::mprotect(stack.ss_sp, stack.ss_size, PROT_READ | PROT_WRITE) != 0 ||
        ::sigaltstack(&stack, &before_) != 0) {
        ::munmap(memory, size);
        return;
    }
    memory_ = memory;
    size_ = size;
}

AlternateStack::~AlternateStack() {
    if (memory_ != nullptr) {
        ::sigaltstack(&before_, nullptr);
        ::munmap(memory_, size_);
    }
}

} // namespace fw
