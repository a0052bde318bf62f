/// Installs the crash handler for a folder and dies as it is told:
///
///     crash_probe FOLDER WAY [ARGUMENT...]
///
/// On standard output it says first where the function lies that is at fault: its offset in the
/// program's file and its size, in hexadecimal.
#include "platform/crash/AlternateStack.h"
#include "platform/crash/CrashHandler.h"
#include "platform/crash/SignalNames.h"
#include "platform/process/RunningProgram.h"
#include "tests/platform/crash/Faults.h"

#include <atomic>
#include <barrier>
#include <csetjmp>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <exception>
#include <functional>
#include <grp.h>
#include <link.h>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <type_traits>
#include <unistd.h>
#include <vector>

namespace {

struct UnknownThing {};

void say(std::string_view text) {
    static_cast<void>(!::write(STDOUT_FILENO, text.data(), text.size()));
}

using Fault = void (*)();

void sayPlaceOf(Fault function) {
    Dl_info place{};
    void* symbol = nullptr;
    ::dladdr1(reinterpret_cast<void*>(function), &place, &symbol, RTLD_DL_SYMENT);
    const auto offset = reinterpret_cast<std::uintptr_t>(function) -
                        reinterpret_cast<std::uintptr_t>(place.dli_fbase);
    const auto size = static_cast<const ElfW(Sym)*>(symbol)->st_size;
    std::printf("%zx %zx\n", static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
    std::fflush(stdout);
}

/// From a process of its own, which is over when this returns.
void sendFromOutside(int signal) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::kill(::getppid(), signal);
        ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);
}

void onWorker(Fault fault) {
    std::thread([fault] {
        const fw::AlternateStack stack;
        fault();
    }).join();
}

void onManyThreadsAtOnce(Fault fault) {
    constexpr int kThreads = 8;
    std::barrier start(kThreads);
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            const fw::AlternateStack stack;
            start.arrive_and_wait();
            fault();
        });
    }
}

/// Half of them by another signal.
void dieInTwoWays() {
    static std::atomic<unsigned> number = 0;
    number++ % 2 == 0 ? dieOfNullDereference() : dieOfAbort();
}

[[noreturn]] void throwReason(const std::string& reason) {
    throw std::runtime_error(reason);
}

std::terminate_handler before = nullptr;

void sayAndGoOn() {
    say("heard\n");
    before();
}

void listenToTermination() {
    before = std::set_terminate(sayAndGoOn);
}

void listenAndThrow() {
    listenToTermination();
    dieOfUncaughtException();
}

void becomeNobody() {
    constexpr unsigned kNobody = 65534;
    if (::geteuid() == 0 &&
        (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) {
        ::_exit(99);
    }
}

void limitFilesTo(rlim_t bytes) {
    const rlimit limit{bytes, bytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

void ignoreAll() {
    for (const int signal : fw::kFatalSignals) {
        ::signal(signal, SIG_IGN);
    }
}

void onSignalOfSomebodyElse(int signal, siginfo_t* facts, void* /*context*/) {
    say(signal == SIGSEGV && facts->si_code == SEGV_MAPERR && facts->si_addr == nullptr
            ? "mine\n"
            : "wrong\n");
    ::_exit(7);
}

thread_local sigjmp_buf wayOut;

void onSignalThatIsNoMatter(int /*signal*/) {
    ::siglongjmp(wayOut, 1);
}

void dieAndLiveOn() {
    if (sigsetjmp(wayOut, 1) == 0) {
        dieOfNullDereference();
    }
}

template <class Handler>
void handleSegmentFaults(Handler handler) {
    struct sigaction action {};
    if constexpr (std::is_same_v<Handler, void (*)(int)>) {
        action.sa_handler = handler;
    } else {
        action.sa_sigaction = handler;
        action.sa_flags = SA_SIGINFO;
    }
    ::sigaction(SIGSEGV, &action, nullptr);
}

void blockAll() {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
}

struct Way {
    std::function<void()> die;
    /// Whose place is said.
    Fault fault = nullptr;
    std::function<void()> beforeInstallation = [] {
    };
};

std::map<std::string, Way> faults() {
    std::map<std::string, Way> ways;
    const std::map<std::string, Fault> functions = {{"null", dieOfNullDereference},
                                                    {"call", dieOfCallOfNothing},
                                                    {"division", dieOfIntegerDivision},
                                                    {"overflow", dieOfStackOverflow},
                                                    {"illegal", dieOfIllegalInstruction},
                                                    {"trap", dieOfTrap},
                                                    {"bus", dieOfMissingFilePage},
                                                    {"syscall", dieOfForbiddenSystemCall},
                                                    {"abort", dieOfAbort},
                                                    {"broken", dieWithBrokenStack}};
    for (const auto& [name, fault] : functions) {
        ways[name] = {fault, fault};
        ways["worker-" + name] = {[fault = fault] { onWorker(fault); }, fault};
        ways["ignored-" + name] = {fault, fault, ignoreAll};
    }
    for (const int signal : fw::kFatalSignals) {
        const std::string name = std::to_string(signal);
        ways["kill-" + name] = {[signal] {
            sendFromOutside(signal);
        }};
        ways["raise-" + name] = {[signal] {
            ::raise(signal);
        }};
        ways["ignored-kill-" + name] = {[signal] { sendFromOutside(signal); }, nullptr, ignoreAll};
    }
    return ways;
}

std::map<std::string, Way> terminations(const std::string& argument) {
    return {
        {"throw", {[argument] {
             throwReason(argument);
         }}},
        {"worker-throw", {[] {
             onWorker([] { throwReason("on a worker"); });
         }}},
        {"platform", {dieOfUncaughtException, dieOfUncaughtException}},
        {"unknown", {[] {
             throw UnknownThing();
         }}},
        {"integer", {[] {
             throw 5;
         }}},
        {"noexcept", {[]() noexcept {
             throwReason("in noexcept");
         }}},
        {"terminate", {[] {
             std::terminate();
         }}},
        {"twice", {[] {
             fw::installCrashHandler({"/nonexistent", "Other", "", "", {}});
             dieOfUncaughtException();
         }}},
        {"caught", {[argument] {
             try {
                 throwReason(argument);
             } catch (const std::exception&) {
                 dieOfAbort();
             }
         }}},
        {"listener-before", {dieOfUncaughtException, nullptr, listenToTermination}},
        {"listener-after", {listenAndThrow}},
        {"many-terminate", {[] {
             onManyThreadsAtOnce([] { throwReason("one of many"); });
         }}},
    };
}

std::map<std::string, Way> circumstances(const std::string& argument) {
    return {
        {"nobody", {[] {
             becomeNobody();
             dieOfNullDereference();
         }}},
        {"full", {[argument] {
             limitFilesTo(std::stoul(argument));
             dieOfNullDereference();
         }}},
        {"blocked-abort", {[] {
             blockAll();
             dieOfAbort();
         }}},
        {"many", {[] {
             onManyThreadsAtOnce(dieInTwoWays);
         }}},
        {"elsewhere", {[] {
             static_cast<void>(!::chdir("/"));
             dieOfNullDereference();
         }}},
        {"traced", {[] {
             ::ptrace(PTRACE_TRACEME);
             dieOfNullDereference();
         }}},
        {"handler",
         {dieOfNullDereference, nullptr,
          [] {
              handleSegmentFaults(onSignalOfSomebodyElse);
          }}},
        {"recovery",
         {[] {
              dieAndLiveOn();
              dieAndLiveOn();
          },
          nullptr,
          [] {
              handleSegmentFaults(onSignalThatIsNoMatter);
          }}},
        {"many-recovery",
         {[] { onManyThreadsAtOnce(dieAndLiveOn); }, nullptr,
          [] {
              handleSegmentFaults(onSignalThatIsNoMatter);
          }}},
        {"life", {[] {
         }}},
    };
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv, argv + argc);
    const std::string argument = argc > 3 ? arguments[3] : "";
    std::map<std::string, Way> ways = faults();
    ways.merge(terminations(argument));
    ways.merge(circumstances(argument));
    const Way& way = ways.at(arguments.at(2));
    if (way.fault != nullptr) {
        sayPlaceOf(way.fault);
    }
    way.beforeInstallation();
    fw::installCrashHandler(
        {arguments[1], "CrashProbe", "1.2.3", fw::runningExecutable(), arguments});
    way.die();
    say("alive\n");
    return 0;
}
