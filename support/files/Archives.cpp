#include "platform/files/FileIdentity.h"
#include "support/FWFileManager.h"
#include "support/FWTaskEx.h"

#include <filesystem>
#include <system_error>

namespace fw {
namespace {

constexpr const char* kTool = "/usr/bin/ditto";

/// Whether a path is, or lies in, what stands at the place, under whatever names.
bool isAtOrIn(const std::string& path, const std::string& place) {
    const std::optional<FileIdentity> identity = fileIdentity(place);
    std::error_code failure;
    std::filesystem::path holder = std::filesystem::canonical(path, failure);
    while (identity && !holder.empty()) {
        if (fileIdentity(holder.string()) == identity) {
            return true;
        }
        if (holder == holder.parent_path()) {
            break;
        }
        holder = holder.parent_path();
    }
    return false;
}

/// Makes room for a result; false when something stays in the way, or `source` would go with it.
bool clearedFor(const std::string& source, const std::string& place, ShouldAuth shouldAuth) {
    return !FWFileManager::fileExistsAtPath(place) ||
           (!isAtOrIn(source, place) && FWFileManager::trashFile(place, shouldAuth));
}

} // namespace

bool FWFileManager::compressFile(const std::string& source, const std::string& archive,
                                 IncludeParent includeParent) {
    if (!clearedFor(source, archive, ShouldAuth::kYes)) {
        return false;
    }
    TaskArguments arguments = {"-ck", source, archive};
    if (includeParent == IncludeParent::kYes) {
        arguments.insert(arguments.begin() + 1, "--keepParent");
    }
    FWTaskEx::runTask(kTool, arguments);
    return fileExistsAtPath(archive);
}

bool FWFileManager::compressFile(const std::string& source, const std::string& archive) {
    return compressFile(source, archive, IncludeParent::kNo);
}

bool FWFileManager::decompressFile(const std::string& archive, const std::string& folder) {
    if (!clearedFor(archive, folder, ShouldAuth::kNo)) {
        return false;
    }
    FWTaskEx::runTask(kTool, {"-xk", archive, folder});
    return fileExistsAtPath(folder);
}

} // namespace fw
