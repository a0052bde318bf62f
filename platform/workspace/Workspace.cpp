#include "platform/workspace/Workspace.h"

#include "platform/workspace/applicationLaunch.h"
#include "platform/workspace/desktopEntryLaunch.h"

#include <mutex>
#include <utility>

namespace fw {
namespace {

struct Installed {
    std::mutex mutex;
    WorkspaceServices services;
};

/// Never destroyed: threads may ask while the program ends.
Installed& installed() {
    static auto* const instance = new Installed;
    return *instance;
}

WorkspaceServices currentServices() {
    const std::lock_guard lock(installed().mutex);
    return installed().services;
}

} // namespace

bool openFile(const std::string& file, const std::string& applicationPath) {
    const WorkspaceServices services = currentServices();
    return services.openFile ? services.openFile(file, applicationPath)
                             : launchApplication(file, applicationPath);
}

bool openUrls(const std::vector<std::string>& files, const std::string& bundleIdentifier) {
    const WorkspaceServices services = currentServices();
    return services.openUrls ? services.openUrls(files, bundleIdentifier)
                             : launchDesktopEntry(files, bundleIdentifier);
}

std::int32_t sendDesktopEvent(const DesktopEvent& event) {
    constexpr std::int32_t kTaken = 0;
    const WorkspaceServices services = currentServices();
    return services.sendDesktopEvent ? services.sendDesktopEvent(event) : kTaken;
}

WorkspaceServices setWorkspaceServices(WorkspaceServices services) {
    const std::lock_guard lock(installed().mutex);
    return std::exchange(installed().services, std::move(services));
}

} // namespace fw
