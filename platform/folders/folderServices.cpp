#include "platform/folders/folderServices.h"

#include <memory>
#include <mutex>
#include <unistd.h>
#include <utility>

namespace fw {
namespace {

struct Services {
    std::mutex mutex;
    std::shared_ptr<const FolderServices> current = std::make_shared<FolderServices>();
};

/// Never destroyed: threads may ask while the program ends.
Services& services() {
    static auto* const instance = new Services;
    return *instance;
}

std::shared_ptr<const FolderServices> currentServices() {
    const std::lock_guard lock(services().mutex);
    return services().current;
}

} // namespace

FolderServices setFolderServices(FolderServices newServices) {
    auto next = std::make_shared<const FolderServices>(std::move(newServices));
    const std::lock_guard lock(services().mutex);
    return *std::exchange(services().current, std::move(next));
}

unsigned realUserId() {
    const auto current = currentServices();
    return current->realUserId ? current->realUserId() : ::getuid();
}

bool isSuperuser() {
    return realUserId() == 0;
}

std::vector<std::string> searchFolders(FolderKind kind, FolderDomainMask domains) {
    const auto current = currentServices();
    return current->search ? current->search(kind, domains) : standardFolders(kind, domains);
}

} // namespace fw
