/// In place of the C library's: works once, when the crash handler prepares itself, and then goes
/// wrong in the way that the environment names.
#include "tests/platform/crash/Faults.h"

#include <csignal>
#include <cstdlib>
#include <execinfo.h>
#include <string_view>
#include <unistd.h>

namespace {

/// Who waits for the handler's time limit from now on dies of another signal.
void waitForNoTimeLimit() {
    ::signal(SIGALRM, SIG_DFL);
    ::alarm(20);
}

} // namespace

extern "C" int backtrace(void** /*frames*/, int /*size*/) {
    static int calls = 0;
    if (calls++ == 0) {
        return 0;
    }
    const std::string_view way = ::getenv("BROKEN_BACKTRACE");
    if (way == "fault") {
        waitForNoTimeLimit();
        dieOfNullDereference();
    } else if (way == "abort") {
        waitForNoTimeLimit();
        std::abort();
    } else if (way == "hang") {
        // A time limit must be running; this test need not wait for all of it.
        if (::alarm(1) == 0) {
            ::_exit(98);
        }
        for (;;) {
            ::pause();
        }
    }
    return 0;
}
