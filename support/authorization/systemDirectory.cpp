#include "support/authorization/systemDirectory.h"

#include "base/text.h"
#include "support/FWLocalPaths.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace fw {
namespace {

namespace fs = std::filesystem;

/// Beside those that FWLocalPaths knows and "/lib...".
constexpr auto kTopFolders = std::to_array<const char*>(
    {"/boot", "/dev", "/etc", "/home", "/opt", "/proc", "/root", "/run", "/srv", "/sys"});

/// Those that are known by their names anyway and may have others, as where "/bin" is "/usr/bin".
constexpr auto kKnownFolders = std::to_array<const char*>(
    {"/", "/bin", "/lib", "/lib32", "/lib64", "/libx32", "/sbin", "/usr", "/var"});

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

bool isTopFolder(std::string_view path) {
    const bool isLibrary = path.starts_with("/lib") && path.find('/', 1) == std::string_view::npos;
    return isLibrary ||
           std::find(kTopFolders.begin(), kTopFolders.end(), path) != kTopFolders.end();
}

/// Links below "/proc" lead anywhere, as to "/" of a process, and only the superuser sees where.
bool isInProc(std::string_view path) {
    return path.starts_with("/proc/");
}

bool isSystemDirectory(const std::string& path) {
    return isTopFolder(path) || isInProc(path) ||
           FWLocalPaths::isPathSystemDirectory(path, ExactMatch::kYes);
}

/// From "/" on, without ".", ".." and doubled slashes; as they are written, whatever stands there.
std::string plainPath(const std::string& path) {
    std::error_code failure;
    const fs::path whole = fs::absolute(path, failure);
    return withoutTrailingSlashes((failure ? fs::path(path) : whole).lexically_normal().string());
}

bool isStep(std::string_view component) {
    return component == "." || component == "..";
}

/// The path without links, as far as they can be read; what cannot be looked into, or is missing,
/// stays as it is written.
fs::path withoutLinks(fs::path path) {
    constexpr int kMostLinks = 40; // As many as the system follows.
    fs::path unseen;
    for (int links = 0; links < kMostLinks && path.has_relative_path();) {
        std::error_code failure;
        const fs::path real = fs::canonical(path, failure);
        if (!failure) {
            return real / unseen;
        }
        const fs::path target = fs::read_symlink(path, failure);
        if (failure) {
            unseen = unseen.empty() ? path.filename() : path.filename() / unseen;
            path = path.parent_path();
        } else {
            path = path.parent_path() / target;
            ++links;
        }
    }
    return path / unseen;
}

/// The path without links, but for the one at the end where that is meant itself.
std::string realPath(const std::string& path, LinkAtEnd linkAtEnd) {
    std::error_code failure;
    const fs::path absolute = fs::absolute(withoutTrailingSlashes(path), failure);
    const fs::path name = absolute.filename();
    const bool takesLink = linkAtEnd == LinkAtEnd::kTaken && !isStep(name.string());
    return plainPath(takesLink ? withoutLinks(absolute.parent_path()) / name
                               : withoutLinks(absolute));
}

bool isSameFolder(const struct stat& folder, const std::string& path) {
    struct stat other {};
    return ::stat(path.c_str(), &other) == 0 && other.st_dev == folder.st_dev &&
           other.st_ino == folder.st_ino;
}

/// Whether the folder at the path is one of the machine's top folders, the user's home or one of
/// the main folders there, under whatever name: through a link, or mounted a second time.
bool isTopFolderByAnotherName(const std::string& path, LinkAtEnd linkAtEnd) {
    struct stat folder {};
    const auto look = linkAtEnd == LinkAtEnd::kTaken ? ::lstat : ::stat;
    if (look(path.c_str(), &folder) != 0 || !S_ISDIR(folder.st_mode)) {
        return false;
    }
    const auto isThat = [&](const std::string& top) {
        return isSameFolder(folder, top);
    };
    return std::any_of(kTopFolders.begin(), kTopFolders.end(), isThat) ||
           std::any_of(kKnownFolders.begin(), kKnownFolders.end(), isThat) ||
           isThat(FWLocalPaths::userDirectory()) || isThat(FWLocalPaths::documentDirectory(true)) ||
           isThat(FWLocalPaths::libraryDirectory(true)) || isThat(FWLocalPaths::desktopDirectory());
}

} // namespace

bool isRefusedDirectory(const std::string& path, LinkAtEnd linkAtEnd) {
    if (path.empty()) {
        return false;
    }
    if (path.back() == '/') {
        linkAtEnd = LinkAtEnd::kFollowed; // As every tool does then.
    }
    return isSystemDirectory(withoutTrailingSlashes(path)) || isSystemDirectory(plainPath(path)) ||
           isSystemDirectory(realPath(path, linkAtEnd)) ||
           isTopFolderByAnotherName(path, linkAtEnd);
}

} // namespace fw
