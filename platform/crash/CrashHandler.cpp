#include "platform/crash/CrashHandler.h"

#include "platform/crash/AlternateStack.h"
#include "platform/crash/Backtrace.h"
#include "platform/crash/CrashReport.h"
#include "platform/crash/ExceptionReason.h"
#include "platform/crash/SignalNames.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

// Whatever a signal handler calls here is signal-safe: no memory from the heap, no lock, no locale.

namespace fw {
namespace {

/// A report takes some milliseconds. One that does not end, because the crash left a lock locked,
/// must not keep the process alive.
constexpr unsigned kMostSeconds = 10;

/// The signal that began the end.
struct FirstCrash {
    int signal;
    siginfo_t facts;
};

/// What the handler needs from the start.
struct Installation {
    explicit Installation(const CrashReportSettings& settings) : report(settings) {}

    AlternateStack mainThreadsStack;
    PreparedReport report;
};

// Static and never destroyed: crashes also happen while the program ends.
const Installation* installation = nullptr;
std::array<struct sigaction, kFatalSignals.size()> actionsBefore = {};
FirstCrash firstCrash = {};
/// The thread that writes the report, or wrote it; 0 before.
std::atomic<pid_t> reportingThread = 0;
/// Whether the report is written and the process may live on by the action that stood before.
std::atomic<bool> isHandedOver = false;
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

struct sigaction& actionBefore(int signal) {
    const auto found = std::ranges::find(kFatalSignals, signal);
    return actionsBefore[static_cast<std::size_t>(found - kFatalSignals.begin())];
}

bool isPlain(const struct sigaction& action, void (*handler)(int)) {
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == handler;
}

bool isOfSomebodyElse(const struct sigaction& action) {
    return !isPlain(action, SIG_DFL) && !isPlain(action, SIG_IGN);
}

void setDefaultAction(int signal) {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    ::sigaction(signal, &action, nullptr);
}

void unblock(int signal) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

/// Sends this thread the signal once more, with all that it said at first.
void sendAgain(int signal, const siginfo_t& facts) {
    siginfo_t copy = facts;
    if (::syscall(SYS_rt_tgsigqueueinfo, ::getpid(), ::gettid(), signal, &copy) != 0) {
        ::syscall(SYS_tgkill, ::getpid(), ::gettid(), signal);
    }
}

/// A fault of its own ends a process even where it ignores the signal, and so does an abort, whose
/// signal is the only one that a program sends to itself to die.
bool isIgnored(int signal, const siginfo_t& facts) {
    const bool isOwn = facts.si_code > 0 || (signal == SIGABRT && facts.si_pid == ::getpid());
    return !isOwn && isPlain(actionBefore(signal), SIG_IGN);
}

/// Ends the process by the signal that began the end, from whatever place.
void dieOfFirstCrash() {
    setDefaultAction(firstCrash.signal);
    unblock(firstCrash.signal);
    sendAgain(firstCrash.signal, firstCrash.facts);
}

/// The system may tell any thread that the time is over; the one that crashed has to die.
void onTimeLimit(int signal) {
    const pid_t thread = reportingThread;
    if (thread == ::gettid()) {
        dieOfFirstCrash();
    }
    ::syscall(SYS_tgkill, ::getpid(), thread, signal);
}

/// While it lives, the limit of a file's size does not end the process, and the time limit and a
/// crash of the reporter do, even on a thread that blocks all signals. The signal that is being
/// handled stays blocked.
class ReportLimits {
public:
    explicit ReportLimits(int signalInHandling) {
        struct sigaction action = {};
        action.sa_handler = SIG_IGN;
        ::sigaction(SIGXFSZ, &action, &fileSizeBefore_);
        action.sa_handler = onTimeLimit;
        ::sigaction(SIGALRM, &action, &timeBefore_);
        unblock(SIGALRM);
        for (const int signal : kFatalSignals) {
            if (signal != signalInHandling) {
                unblock(signal);
            }
        }
        ::alarm(kMostSeconds);
    }
    ~ReportLimits() {
        ::alarm(0);
        ::sigaction(SIGALRM, &timeBefore_, nullptr);
        ::sigaction(SIGXFSZ, &fileSizeBefore_, nullptr);
    }
    ReportLimits(const ReportLimits&) = delete;
    ReportLimits& operator=(const ReportLimits&) = delete;

private:
    struct sigaction fileSizeBefore_ = {};
    struct sigaction timeBefore_ = {};
};

void waitUntilHandedOver() {
    constexpr timespec kPause = {0, 10'000'000};
    while (!isHandedOver) {
        ::nanosleep(&kPause, nullptr);
    }
}

/// Puts the action back that stood before and sends the signal again; it is blocked until the
/// handler returns, so that it strikes, and the core dump shows, the place of the crash. Ignoring
/// is no action for what comes here.
void handOver(int signal, const siginfo_t& facts) {
    const struct sigaction& before = actionBefore(signal);
    if (isOfSomebodyElse(before)) {
        ::sigaction(signal, &before, nullptr);
        isHandedOver = true;
    } else {
        setDefaultAction(signal);
    }
    sendAgain(signal, facts);
}

/// True for the first thread that comes here; others wait meanwhile, most for ever.
bool mayReport() {
    pid_t nobody = 0;
    if (reportingThread.compare_exchange_strong(nobody, ::gettid())) {
        return true;
    }
    waitUntilHandedOver();
    return false;
}

bool isCrashOfReporter() {
    return reportingThread == ::gettid() && !isHandedOver;
}

void onFatalSignal(int signal, siginfo_t* facts, void* context) {
    const int errorNumber = errno;
    if (isIgnored(signal, *facts)) {
        return;
    }
    if (isCrashOfReporter()) {
        dieOfFirstCrash();
    }
    if (mayReport()) {
        firstCrash = {signal, *facts};
        const ReportLimits limits(signal);
        installation->report.write(signal, *facts, context);
    }
    handOver(signal, *facts);
    errno = errorNumber;
}

void installSignalHandlers() {
    struct sigaction action = {};
    action.sa_sigaction = onFatalSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (const int signal : kFatalSignals) {
        ::sigaction(signal, nullptr, &actionBefore(signal));
        ::sigaction(signal, &action, nullptr);
    }
}

} // namespace

void installCrashHandler(const CrashReportSettings& settings) {
    if (installation != nullptr) {
        return;
    }
    prepareBacktrace();
    installation = new Installation(settings);
    noteReasonsOfTermination();
    installSignalHandlers();
}

} // namespace fw
