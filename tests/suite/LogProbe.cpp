// Uses the log as its arguments say, one after the other, and then returns from main:
//   user=ID             goes on as this user; user=real as the real one
//   library=FOLDER      the machine's library folder
//   create  create=NAME  quiet=NAME
//   append=TEXT  fast=TEXT  print=TEXT  debug=TEXT  nothing=TEXT     the text is a format
//   absent              every entry point with no format at all
//   many=COUNT          lines "line 0", "line 1", ... through fastAppendLog
//   big=COUNT           lines of 100,000 characters
//   threads=N:COUNT     N threads with COUNT lines each, "thread T line L"
//   creators=N:COUNT    N threads that begin COUNT new logs each
//   waits=TEXT          whether appending on a second thread returned with nothing waiting
//   again               another process begins the superuser's log "Probe" meanwhile
//   write=FILE:TEXT     puts a file into the home
//   opening=FILE        waits until an opening of the file waits for the end of a lease
//   held=FILE           whether one does
//   short=TEXT          appends on a second thread and ends the process at once
//   hold-output         whoever prints waits from now on, the log's worker too
//   release-output
//   finish  counters  name  logs  singleton  size-limit=BYTES  die
//   no-threads          goes on as an ordinary user who may start no more threads
//   no-folders          asking for a folder throws from now on
//   throw=TEXT  throw-number  thread-throw=TEXT  late=TEXT
#include "platform/folders/folderServices.h"
#include "support/FWLog.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fw {
namespace {

/// An ordinary user, unless a test says otherwise: the superuser's log is the machine's.
unsigned userId = 1000;
std::string machineLibrary = "/nonexistent";
bool areFoldersBroken = false;

/// Logs when it is destroyed, after the log has ended.
struct LateLogger {
    std::string text;
    ~LateLogger() {
        if (!text.empty()) {
            FWLog::appendLogAndPrint(text);
            FWLog::finishWriting();
        }
    }
};
LateLogger lateLogger;

std::vector<std::string> foundFolders(FolderKind kind, FolderDomainMask domains) {
    if (areFoldersBroken) {
        throw std::runtime_error("no folders");
    }
    if (kind == FolderKind::kLibrary && domains == FolderDomainMask::kLocal) {
        return {machineLibrary};
    }
    if (userId == 0 && kind == FolderKind::kLibrary) {
        return {"/var/root/Library"};
    }
    return {std::string(std::getenv("HOME")) + "/Library"};
}

void useFolders() {
    setFolderServices({[] { return userId; }, foundFolders});
}

void logOnThreads(const std::string& counts) {
    const int threads = std::atoi(counts.c_str());
    const int lines = std::atoi(counts.substr(counts.find(':') + 1).c_str());
    std::vector<std::jthread> running;
    for (int thread = 0; thread < threads; ++thread) {
        running.emplace_back([thread, lines] {
            for (int i = 0; i < lines; ++i) {
                FWLog::fastAppendLog("thread %i line %i %@", thread, i, std::string(80, 'x'));
            }
        });
    }
}

void createOnThreads(const std::string& counts) {
    const int threads = std::atoi(counts.c_str());
    const int logs = std::atoi(counts.substr(counts.find(':') + 1).c_str());
    std::vector<std::jthread> running;
    for (int thread = 0; thread < threads; ++thread) {
        running.emplace_back([logs] {
            for (int i = 0; i < logs; ++i) {
                FWLog::createNewLog({}, NoPrinting::kYes);
            }
        });
    }
}

void limitFileSize(const std::string& bytes) {
    // The hard limit stays: a later call may give the disk room again.
    const rlimit limit{std::stoul(bytes), RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

void forbidThreads() {
    constexpr uid_t kNobody = 65534;
    const rlimit none{0, 0};
    const bool isRoot = ::geteuid() == 0; // The limit is not for the superuser.
    if (::setrlimit(RLIMIT_NPROC, &none) != 0 ||
        (isRoot && ::setresuid(kNobody, kNobody, kNobody) != 0)) {
        std::abort();
    }
}

void showSingleton() {
    FWLog* const first = FWLog::create();
    FWLog* const second = FWLog::create();
    FWLog& log = FWLog::sharedController();
    std::printf("%d%d%d\n", first == &log, second == nullptr, &log.copy() == &log);
}

void showCounters() {
    const FWLog& log = FWLog::sharedController();
    std::printf("written %llu waiting %llu disabled %d quiet %d\n",
                static_cast<unsigned long long>(log.bytesWritten()),
                static_cast<unsigned long long>(log.bytesInQueue()), log.loggingDisabled(),
                log.noPrinting());
}

void callWithoutFormat() {
    FWLog::appendLog(std::nullopt);
    FWLog::fastAppendLog(std::nullopt);
    FWLog::appendLogAndPrint(std::nullopt);
    FWLog::appendLogAndDebugPrint(std::nullopt);
    FWLog::debugPrint(std::nullopt);
}

/// Whether an opening of this file waits for the end of a lease.
bool isLeaseBroken(const std::string& path) {
    struct stat status {};
    ::stat(path.c_str(), &status);
    const std::string inode = ':' + std::to_string(status.st_ino) + ' ';
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        if (line.find("BREAKING") != std::string::npos && line.find(inode) != std::string::npos) {
            return true;
        }
    }
    return false;
}

void waitForOpening(const std::string& path) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isLeaseBroken(path) && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

using Instruction = std::function<void(const std::string&)>;
const std::map<std::string_view, Instruction>& instructions() {
    static const std::map<std::string_view, Instruction> all = {
        {"user",
         [](const std::string& id) {
             id == "real" ? static_cast<void>(setFolderServices({}))
                          : static_cast<void>(userId = static_cast<unsigned>(std::stoul(id)));
         }},
        {"library",
         [](const std::string& folder) {
             machineLibrary = folder;
         }},
        {"create",
         [](const std::string& name) {
             FWLog::createNewLog(name);
         }},
        {"quiet",
         [](const std::string& name) {
             FWLog::createNewLog(name, NoPrinting::kYes);
         }},
        {"append",
         [](const std::string& text) {
             FWLog::appendLog(text);
         }},
        {"fast",
         [](const std::string& text) {
             FWLog::fastAppendLog(text);
         }},
        {"print",
         [](const std::string& text) {
             FWLog::appendLogAndPrint(text);
         }},
        {"print-argument",
         [](const std::string& text) {
             FWLog::appendLogAndPrint("%@", text);
         }},
        {"debug",
         [](const std::string& text) {
             FWLog::appendLogAndDebugPrint(text);
         }},
        {"nothing",
         [](const std::string& text) {
             FWLog::debugPrint(text);
         }},
        {"absent",
         [](const std::string&) {
             callWithoutFormat();
         }},
        {"many",
         [](const std::string& count) {
             for (int i = 0; i < std::stoi(count); ++i) {
                 FWLog::fastAppendLog("line %i", i);
             }
         }},
        {"big",
         [](const std::string& count) {
             for (int i = 0; i < std::stoi(count); ++i) {
                 FWLog::fastAppendLog(std::string(100'000, 'x'));
             }
         }},
        {"threads", logOnThreads},
        {"creators", createOnThreads},
        {"short",
         [](const std::string& text) {
             std::jthread([&] { FWLog::appendLog("%@", text); }).join();
             ::_exit(0);
         }},
        {"waits",
         [](const std::string& text) {
             std::jthread([&] { FWLog::appendLog(text); }).join();
             std::puts(FWLog::sharedController().bytesInQueue() == 0 ? "waited" : "went on");
         }},
        {"write",
         [](const std::string& fileAndText) {
             const std::size_t colon = fileAndText.find(':');
             const std::filesystem::path file =
                 std::filesystem::path(std::getenv("HOME")) / fileAndText.substr(0, colon);
             std::filesystem::create_directories(file.parent_path());
             std::ofstream(file) << fileAndText.substr(colon + 1);
         }},
        {"opening", waitForOpening},
        {"held",
         [](const std::string& path) {
             std::puts(isLeaseBroken(path) ? "held" : "free");
         }},
        {"again",
         [](const std::string&) {
             const std::string command = "/proc/" + std::to_string(::getpid()) +
                                         "/exe user=0 library=" + machineLibrary + " create=Probe";
             static_cast<void>(std::system(command.c_str()));
         }},
        {"hold-output",
         [](const std::string&) {
             ::flockfile(stdout);
         }},
        {"release-output",
         [](const std::string&) {
             ::funlockfile(stdout);
         }},
        {"finish",
         [](const std::string&) {
             FWLog::finishWriting();
         }},
        {"counters",
         [](const std::string&) {
             showCounters();
         }},
        {"name",
         [](const std::string&) {
             std::puts(FWLog::sharedController().appName().c_str());
         }},
        {"logs",
         [](const std::string&) {
             for (const std::string& log : FWLog::availableLogs()) {
                 std::puts(log.c_str());
             }
         }},
        {"singleton",
         [](const std::string&) {
             showSingleton();
         }},
        {"size-limit", limitFileSize},
        {"no-threads",
         [](const std::string&) {
             forbidThreads();
         }},
        {"no-folders",
         [](const std::string&) {
             areFoldersBroken = true;
         }},
        {"die",
         [](const std::string&) {
             std::fflush(stdout);
             ::_exit(0);
         }},
        {"throw",
         [](const std::string& text) {
             throw std::runtime_error(text);
         }},
        {"throw-number",
         [](const std::string&) {
             throw 42;
         }},
        {"thread-throw",
         [](const std::string& text) {
             std::jthread([&] { throw std::runtime_error(text); }).join();
         }},
        {"late",
         [](const std::string& text) {
             lateLogger.text = text;
         }},
        {"terminate",
         [](const std::string&) {
             FWLog::willTerminate();
         }},
    };
    return all;
}

} // namespace
} // namespace fw

int main(int argc, char** argv) {
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    fw::useFolders();
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::size_t equals = argument.find('=');
        const std::string value = equals == std::string::npos ? "" : argument.substr(equals + 1);
        fw::instructions().at(std::string_view(argument).substr(0, equals))(value);
        std::fflush(stdout);
    }
    return 0;
}
