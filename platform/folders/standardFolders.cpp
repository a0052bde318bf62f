#include "platform/folders/standardFolders.h"

#include "base/text.h"
#include "platform/folders/folderServices.h"
#include "platform/folders/userFolders.h"

#include <array>
#include <string_view>

namespace fw {
namespace {

struct StandardFolder {
    FolderDomainMask domain;
    FolderKind kind;
    std::string_view path; ///< "~" stands for the home folder.
};

using Domain = FolderDomainMask;
using Kind = FolderKind;

/// In the order of the domains.
constexpr auto kStandardFolders = std::to_array<StandardFolder>({
    {Domain::kUser, Kind::kApplications, "~/Applications"},
    {Domain::kUser, Kind::kAdministrationApplications, "~/Applications/Utilities"},
    {Domain::kUser, Kind::kDocuments, "~/Documents"},
    {Domain::kUser, Kind::kLibrary, "~/Library"},
    {Domain::kUser, Kind::kCaches, "~/Library/Caches"},
    {Domain::kUser, Kind::kApplicationSupport, "~/Library/Application Support"},
    {Domain::kUser, Kind::kMovies, "~/Movies"},
    {Domain::kUser, Kind::kDesktop, "~/Desktop"},
    {Domain::kLocal, Kind::kApplications, "/Applications"},
    {Domain::kLocal, Kind::kAdministrationApplications, "/Applications/Utilities"},
    {Domain::kLocal, Kind::kLibrary, "/Library"},
    {Domain::kLocal, Kind::kCaches, "/Library/Caches"},
    {Domain::kLocal, Kind::kApplicationSupport, "/Library/Application Support"},
    {Domain::kLocal, Kind::kDocumentation, "/Library/Documentation"},
    {Domain::kSystem, Kind::kLibrary, "/usr/lib"},
});

bool holds(FolderDomainMask mask, FolderDomainMask domain) {
    return (static_cast<unsigned>(mask) & static_cast<unsigned>(domain)) != 0;
}

/// What "~" stands for in the table.
std::string userBase() {
    return isSuperuser() ? "/var/root" : homeFolder();
}

/// Empty when the folder lies in a home that is not known.
std::string expanded(std::string_view path) {
    if (!path.starts_with('~')) {
        return std::string(path);
    }
    return pathInFolder(userBase(), path.substr(1));
}

} // namespace

std::vector<std::string> standardFolders(FolderKind kind, FolderDomainMask domains) {
    std::vector<std::string> found;
    for (const StandardFolder& folder : kStandardFolders) {
        if (folder.kind != kind || !holds(domains, folder.domain)) {
            continue;
        }
        if (std::string path = expanded(folder.path); !path.empty()) {
            found.push_back(std::move(path));
        }
    }
    return found;
}

} // namespace fw
