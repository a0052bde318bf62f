#include "tests/platform/crash/Faults.h"

#include "base/PlatformException.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// The compiler must not see what they hold.
int* volatile nowhere = nullptr;
void (*volatile noFunction)() = nullptr;
volatile int one = 1;
volatile int zero = 0;
volatile int result = 0;
volatile int noEnd = 1;

/// Every call takes a page, which the caller still needs afterwards.
[[gnu::noinline]] int recursed(int depth) {
    volatile char page[4096];
    page[0] = static_cast<char>(depth);
    page[4095] = page[0];
    const int deeper = noEnd != 0 ? recursed(depth + 1) : 0;
    return deeper + page[4095];
}

} // namespace

void dieOfNullDereference() {
    *nowhere = 1;
}

void dieOfCallOfNothing() {
    noFunction();
    result = 1; // No tail call.
}

void dieOfIntegerDivision() {
    result = one / zero;
}

void dieOfStackOverflow() {
    // The main thread's stack grows up to this limit.
    const rlimit small{1 << 20, 1 << 20};
    ::setrlimit(RLIMIT_STACK, &small);
    result = recursed(0);
}

void dieOfIllegalInstruction() {
#if defined(__x86_64__)
    asm volatile("ud2");
#else
    asm volatile(".inst 0");
#endif
}

void dieOfTrap() {
#if defined(__x86_64__)
    asm volatile("int3");
#else
    asm volatile("brk #0");
#endif
}

void dieOfMissingFilePage() {
    const int file = ::memfd_create("short", MFD_CLOEXEC);
    auto* const bytes =
        static_cast<volatile char*>(::mmap(nullptr, 4096, PROT_READ, MAP_SHARED, file, 0));
    result = bytes[0]; // The file is empty.
}

void dieOfForbiddenSystemCall() {
    std::array<sock_filter, 4> rules{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_getpriority, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog program{rules.size(), rules.data()};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
    ::getpriority(PRIO_PROCESS, 0);
}

void dieOfAbort() {
    std::abort();
}

void dieOfUncaughtException() {
    throw fw::PlatformException("The disk is full.");
}

void dieWithBrokenStack() {
    volatile char local[16];
    // Upwards from here: this frame and those of the callers.
    for (std::size_t i = 0; i < 512; ++i) {
        const_cast<volatile char*>(local)[i] = 0x41;
    }
    *nowhere = 1;
}
