#include "tests/support/plainCrashes.h"

#include <cstdlib>
#include <string>
#include <sys/resource.h>

namespace fw::test {

void letChildrenCrashPlainly() {
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    for (const char* const name : {"ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        const char* const before = ::getenv(name);
        std::string options = before == nullptr ? "" : before;
        options.append(":handle_segv=0:handle_sigbus=0:handle_abort=0:handle_sigill=0"
                       ":handle_sigtrap=0:handle_sigfpe=0");
        ::setenv(name, options.c_str(), 1);
    }
}

} // namespace fw::test
