#pragma once

#include "platform/folders/standardFolders.h"

#include <functional>
#include <string>
#include <vector>

namespace fw {

/// What the machine says about the user and its folders; tests put answers of their own in place.
/// An empty member is the machine's own answer.
struct FolderServices {
    std::function<unsigned()> realUserId;
    std::function<std::vector<std::string>(FolderKind, FolderDomainMask)> search;
};

/// Puts other services in place and returns those before. It may be called from any thread; a
/// question on its way meanwhile may still reach the services before.
FolderServices setFolderServices(FolderServices services);

/// The real user id of the process. Safe from any thread.
unsigned realUserId();

/// Whether the real user id is 0. Safe from any thread.
bool isSuperuser();

/// The folders of a kind in each domain of the mask (standardFolders, unless something else is in
/// its place). Safe from any thread.
std::vector<std::string> searchFolders(FolderKind kind, FolderDomainMask domains);

} // namespace fw
