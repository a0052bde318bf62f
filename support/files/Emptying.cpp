#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "support/FWFileManager.h"

#include <cstddef>
#include <functional>
#include <utility>

namespace fw {
namespace {

using Paths = std::vector<std::string>;

/// The paths of what is in a folder, in listing order.
Paths pathsIn(const std::string& folder) {
    const auto names = folderEntries(folder);
    Paths paths;
    if (names) {
        paths.reserve(names.value().size());
        for (const std::string& name : names.value()) {
            paths.push_back(appendedPathComponent(folder, name));
        }
    }
    return paths;
}

/// A folder that is being searched.
struct Search {
    Paths paths;
    std::size_t next = 0;
};

/// Trashes each file that is wanted, in the folder and all folders in it. A link counts as a file:
/// what it points to may lie anywhere. The way is kept in a list, so that no depth is too much for
/// the stack.
Paths trashWhere(const std::string& folder, const std::function<bool(std::string_view)>& isWanted) {
    Paths trashed;
    std::vector<Search> searches = {{pathsIn(folder)}};
    while (!searches.empty()) {
        Search& search = searches.back();
        if (search.next == search.paths.size()) {
            searches.pop_back();
            continue;
        }
        std::string path = std::move(search.paths[search.next++]);
        if (isFolder(path) && !isLink(path)) {
            searches.push_back({pathsIn(path)});
        } else if (isWanted(lastPathComponent(path))) {
            FWFileManager::trashFile(path);
            trashed.push_back(std::move(path));
        }
    }
    return trashed;
}

} // namespace

bool FWFileManager::trashDirectoryContents(const std::string& folder) {
    return trashDirectoryContents(folder, ShouldAuth::kYes);
}

bool FWFileManager::trashDirectoryContents(const std::string& folder, ShouldAuth shouldAuth) {
    bool isDone = true;
    for (const std::string& path : pathsIn(folder)) {
        isDone = trashFile(path, shouldAuth) && isDone;
    }
    return isDone;
}

/// Deliberate: an empty extension is that of every file that has none.
std::vector<std::string> FWFileManager::trashFilesOfType(const std::string& extension,
                                                         const std::string& folder) {
    return trashWhere(folder, [wanted = lowerCased(extension)](std::string_view name) {
        return lowerCased(pathExtension(name)) == wanted;
    });
}

std::vector<std::string> FWFileManager::trashFilesNamed(const std::string& name,
                                                        const std::string& folder) {
    return trashWhere(folder, [&](std::string_view other) { return other == name; });
}

} // namespace fw
