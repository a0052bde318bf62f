#include "support/bugreporter/BugReporterServices.h"

#include "platform/process/RunningProgram.h"

#include <mutex>
#include <utility>

namespace fw {
namespace {

struct InPlace {
    std::mutex mutex;
    BugReporterServices services;
};

/// Never destroyed: a program may record its end while it ends.
InPlace& inPlace() {
    static auto* const instance = new InPlace;
    return *instance;
}

} // namespace

BugReporterServices setBugReporterServices(BugReporterServices services) {
    const std::lock_guard lock(inPlace().mutex);
    return std::exchange(inPlace().services, std::move(services));
}

BugReporterServices bugReporterServices() {
    const std::lock_guard lock(inPlace().mutex);
    BugReporterServices services = inPlace().services;
    if (!services.now) {
        services.now = std::chrono::system_clock::now;
    }
    if (!services.executable) {
        services.executable = runningExecutable;
    }
    return services;
}

} // namespace fw
