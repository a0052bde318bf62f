#include "base/text.h"
#include "platform/files/FileFacts.h"
#include "support/FWFileManager.h"
#include "support/files/WildcardPattern.h"

namespace fw {
namespace {

using Base = std::optional<std::string>;
using Paths = std::vector<std::string>;

/// An absolute path begins with the component "/"; a slash at the end adds none.
std::vector<std::string_view> pathComponents(std::string_view path) {
    std::vector<std::string_view> components;
    if (path.starts_with('/')) {
        components.push_back(path.substr(0, 1));
    }
    for (const std::string_view piece : splitAtAnyOf(path, "/")) {
        if (!piece.empty()) {
            components.push_back(piece);
        }
    }
    return components;
}

std::string joined(const Base& basePath, std::string_view path) {
    return basePath ? appendedPathComponent(*basePath, path) : std::string(path);
}

void addIfThere(Paths& paths, const std::string& folder, std::string_view name) {
    std::string path = appendedPathComponent(folder, name);
    if (FWFileManager::fileExistsAtPath(path)) {
        paths.push_back(std::move(path));
    }
}

/// A folder that cannot be read has no entries.
void addMatching(Paths& paths, const std::string& folder, const WildcardPattern& pattern) {
    const Result<std::vector<std::string>> names = folderEntries(folder);
    if (!names) {
        return;
    }
    for (const std::string& name : names.value()) {
        if (pattern.matches(name)) {
            addIfThere(paths, folder, name);
        }
    }
}

Paths nextPaths(const Paths& folders, std::string_view component) {
    Paths paths;
    if (component.find('*') == std::string_view::npos) {
        for (const std::string& folder : folders) {
            addIfThere(paths, folder, component);
        }
        return paths;
    }
    const WildcardPattern pattern(component);
    for (const std::string& folder : folders) {
        addMatching(paths, folder, pattern);
    }
    return paths;
}

} // namespace

std::vector<std::string> FWFileManager::filesMatchingWildcardPath(const std::string& path,
                                                                  const Base& basePath,
                                                                  SearchSubdirs /*searchSubdirs*/) {
    if (path.find('*') == std::string::npos) {
        return {joined(basePath, path)};
    }
    const Paths start = {basePath.value_or("/")};
    Paths paths = start;
    for (const std::string_view component : pathComponents(path)) {
        paths = component == "/" ? start : nextPaths(paths, component);
    }
    return paths;
}

std::vector<std::string> FWFileManager::filesMatchingWildcardPath(const std::string& path,
                                                                  const Base& basePath) {
    return filesMatchingWildcardPath(path, basePath, SearchSubdirs::kNo);
}

std::vector<std::string> FWFileManager::filesMatchingWildcardPath(const std::string& path) {
    return filesMatchingWildcardPath(path, std::nullopt);
}

std::string FWFileManager::decodeWildcardPath(const std::string& path, const Base& basePath) {
    const Paths paths = filesMatchingWildcardPath(path, basePath);
    return paths.empty() ? joined(basePath, path) : paths.front();
}

} // namespace fw
