#pragma once

#include <string>
#include <vector>

namespace fw {

/// What a standard folder is for.
enum class FolderKind : unsigned {
    kApplications,
    kAdministrationApplications,
    kDocuments,
    kLibrary,
    kCaches,
    kApplicationSupport,
    kMovies,
    kDesktop,
    kDocumentation,
};

/// Whose folder it is; a mask may hold several domains.
enum class FolderDomainMask : unsigned {
    kUser = 1U << 0U,
    kLocal = 1U << 1U, ///< The machine's, for all users.
    kSystem = 1U << 2U,
};

constexpr FolderDomainMask operator|(FolderDomainMask a, FolderDomainMask b) {
    return static_cast<FolderDomainMask>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

/// The machine's layout: the folders of a kind in each domain of the mask, in the order user,
/// local, system; empty where there is none. Nothing is said about whether they exist. The user's
/// folders lie in the home folder, the superuser's under /var/root. Safe from any thread.
std::vector<std::string> standardFolders(FolderKind kind, FolderDomainMask domains);

} // namespace fw
