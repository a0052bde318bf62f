#pragma once

#include "platform/folders/standardFolders.h"

#include <string>
#include <string_view>

namespace fw {

/// Whether a path must be a system folder itself, or may also lie in one.
enum class ExactMatch : bool { kNo, kYes };

/// Where things live on the machine. Stateless; safe from any thread. Nothing is created, and
/// nothing says whether a folder exists. An empty path means "unknown", and what would lie in an
/// unknown folder is unknown too.
class FWLocalPaths {
public:
    FWLocalPaths() = delete;

    /// The first folder of this kind in the domain. For the superuser a folder of the user domain
    /// under /var/root is moved under userDirectory().
    static std::string pathForDirectory(FolderKind kind, FolderDomainMask domain);

    // The current user's folder, or the machine's.
    static std::string applicationDirectory(bool userDomain);
    static std::string adminApplicationDirectory(bool userDomain);
    static std::string documentDirectory(bool userDomain);
    static std::string libraryDirectory(bool userDomain);
    static std::string prefsDirectory(bool userDomain);
    static std::string cacheDirectory(bool userDomain);
    static std::string appSupportDirectory(bool userDomain);
    static std::string logDirectory(bool userDomain);

    static std::string movieDirectory();
    static std::string desktopDirectory();
    static std::string systemLibraryDirectory();
    static std::string localDocumentationDirectory();
    static std::string userDirectory();
    /// The user's login name.
    static std::string username();
    static std::string trashDirectory();
    static std::string tempDirectory();
    /// The user's cache folder; empty when its path is longer than 1023 bytes.
    static std::string darwinCacheDirectory();

    /// A new name in tempDirectory() at each call; no file is made.
    static std::string tempFile();
    /// A new version 4 UUID (RFC 4122) at each call, in capital letters.
    static std::string uuid();
    /// So many characters of "a" to "z" and "0" to "9". Seeds the C library's random generator at
    /// each call: names, not secrets.
    static std::string randomString(unsigned length);

    /// With "/" at the end; an empty path stays empty.
    static std::string ensureTrailingSlash(std::string_view path);
    /// Without one "/" at the end; "/" stays.
    static std::string stripTrailingSlash(std::string_view path);

    /// isPathSystemDirectory(path, ExactMatch::kNo).
    static bool isPathSystemDirectory(std::string_view path);
    /// Whether the path is a system or standard folder or, unless an exact match is wanted, lies
    /// in one of the system. Deliberate: of a path with "/" at the end the character before it is
    /// cut off too.
    static bool isPathSystemDirectory(std::string_view path, ExactMatch exactMatch);
    /// Whether the path lies in a backup database on a mounted volume.
    static bool isPathOnTimeMachineVolume(std::string_view path);
};

} // namespace fw
