#include "platform/workspace/Workspace.h"
#include "support/FWFileManager.h"

#include <string_view>

namespace fw {
namespace {

constexpr std::uint32_t code(std::string_view characters) {
    std::uint32_t number = 0;
    for (const char c : characters) {
        number = number << 8 | static_cast<unsigned char>(c);
    }
    return number;
}

} // namespace

std::int32_t SendFinderSyncEvent(const FileReference& file) {
    constexpr std::int32_t kNoSuchFile = -43;
    if (!FWFileManager::fileExistsAtPath(file.path)) {
        return kNoSuchFile;
    }
    return sendDesktopEvent({.eventClass = code("fndr"),
                             .identifier = code("fupd"),
                             .addressee = code("MACS"),
                             .path = file.path});
}

void FWFileManager::notifyFileSystemChanged(const std::string& path) {
    SendFinderSyncEvent({path});
}

} // namespace fw
