#include "support/files/runInBackground.h"

#include "support/CrashReports.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

namespace fw {
namespace {

struct Running {
    std::mutex mutex;
    std::condition_variable ended;
    int count = 0;
};

/// Never destroyed: functions may still run while the program ends.
Running& running() {
    static auto* const instance = new Running;
    return *instance;
}

void run(std::function<void()>& function) {
    {
        const CrashReportedThread reported;
        function();
        function = nullptr; // What it holds goes before it counts as ended.
    }
    const std::lock_guard lock(running().mutex);
    --running().count;
    running().ended.notify_all();
}

} // namespace

std::optional<std::string> runInBackground(std::function<void()> function) {
    const std::lock_guard lock(running().mutex);
    try {
        std::thread([function = std::move(function)]() mutable { run(function); }).detach();
    } catch (const std::exception& exception) { // No more threads, or no memory.
        return exception.what();
    }
    ++running().count;
    return std::nullopt;
}

void finishBackground() {
    std::unique_lock lock(running().mutex);
    running().ended.wait(lock, [] { return running().count == 0; });
}

} // namespace fw
