#include "support/FWLocalPaths.h"

#include "base/text.h"
#include "platform/folders/folderServices.h"
#include "platform/folders/userFolders.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <sys/random.h>
#include <vector>

namespace fw {
namespace {

constexpr std::string_view kAlphabet = "abcdefghijklmnopqrstuvwxyz0123456789";

FolderDomainMask domainOf(bool userDomain) {
    return userDomain ? FolderDomainMask::kUser : FolderDomainMask::kLocal;
}

/// The superuser's folder `found` in its home. Deliberate: 16 characters go although the second
/// prefix has 17, so that its "t" stays in front of the rest.
std::string inSuperuserHome(std::string_view found) {
    if (found.starts_with("/var/root")) {
        found.remove_prefix(9);
    }
    if (found.starts_with("/private/var/root")) {
        found.remove_prefix(16);
    }
    return pathInFolder(FWLocalPaths::userDirectory(), found);
}

/// From the kernel, which gives so few bytes whole; only a signal interrupts it, early after boot.
std::array<std::uint8_t, 16> randomBytes() {
    std::array<std::uint8_t, 16> bytes = {};
    while (::getrandom(bytes.data(), bytes.size(), 0) < 0 && errno == EINTR) {
    }
    return bytes;
}

/// Every folder that is a system or standard folder itself.
std::vector<std::string> systemFolders() {
    using Paths = FWLocalPaths;
    std::vector<std::string> folders;
    for (const auto folder :
         {Paths::applicationDirectory, Paths::adminApplicationDirectory, Paths::documentDirectory,
          Paths::libraryDirectory, Paths::prefsDirectory, Paths::cacheDirectory,
          Paths::appSupportDirectory}) {
        folders.push_back(folder(true));
        folders.push_back(folder(false));
    }
    folders.insert(folders.end(),
                   {Paths::desktopDirectory(), Paths::userDirectory(),
                    Paths::systemLibraryDirectory(), Paths::localDocumentationDirectory(),
                    "/Users/Shared", "/usr", "/var", "/bin", "/sbin", "/System"});
    return folders;
}

bool liesInSystemFolder(std::string_view path) {
    if (path.starts_with("/usr/")) {
        return !path.starts_with("/usr/local/");
    }
    constexpr std::array<std::string_view, 5> kPrefixes = {"/var/", "/bin/", "/sbin/",
                                                           "/private/var/", "/System/"};
    return std::any_of(kPrefixes.begin(), kPrefixes.end(),
                       [&](std::string_view prefix) { return path.starts_with(prefix); });
}

} // namespace

std::string FWLocalPaths::pathForDirectory(FolderKind kind, FolderDomainMask domain) {
    const std::vector<std::string> found = searchFolders(kind, domain);
    if (found.empty()) {
        return {};
    }
    if (isSuperuser() && domain == FolderDomainMask::kUser) {
        return inSuperuserHome(found.front());
    }
    return found.front();
}

std::string FWLocalPaths::applicationDirectory(bool userDomain) {
    return pathForDirectory(FolderKind::kApplications, domainOf(userDomain));
}

std::string FWLocalPaths::adminApplicationDirectory(bool userDomain) {
    return pathForDirectory(FolderKind::kAdministrationApplications, domainOf(userDomain));
}

std::string FWLocalPaths::documentDirectory(bool userDomain) {
    return pathForDirectory(FolderKind::kDocuments, domainOf(userDomain));
}

std::string FWLocalPaths::libraryDirectory(bool userDomain) {
    return pathForDirectory(FolderKind::kLibrary, domainOf(userDomain));
}

std::string FWLocalPaths::prefsDirectory(bool userDomain) {
    return pathInFolder(libraryDirectory(userDomain), "Preferences");
}

std::string FWLocalPaths::cacheDirectory(bool userDomain) {
    return pathForDirectory(FolderKind::kCaches, domainOf(userDomain));
}

std::string FWLocalPaths::appSupportDirectory(bool userDomain) {
    return pathForDirectory(FolderKind::kApplicationSupport, domainOf(userDomain));
}

std::string FWLocalPaths::logDirectory(bool userDomain) {
    return pathInFolder(libraryDirectory(userDomain), "Logs");
}

std::string FWLocalPaths::movieDirectory() {
    return pathForDirectory(FolderKind::kMovies, FolderDomainMask::kUser);
}

std::string FWLocalPaths::desktopDirectory() {
    return pathForDirectory(FolderKind::kDesktop, FolderDomainMask::kUser);
}

std::string FWLocalPaths::systemLibraryDirectory() {
    return pathForDirectory(FolderKind::kLibrary, FolderDomainMask::kSystem);
}

std::string FWLocalPaths::localDocumentationDirectory() {
    return pathForDirectory(FolderKind::kDocumentation, FolderDomainMask::kLocal);
}

std::string FWLocalPaths::userDirectory() {
    return homeFolder();
}

std::string FWLocalPaths::username() {
    return loginName();
}

std::string FWLocalPaths::trashDirectory() {
    return pathInFolder(userDirectory(), ".Trash");
}

std::string FWLocalPaths::tempDirectory() {
    return temporaryFolder();
}

std::string FWLocalPaths::darwinCacheDirectory() {
    std::array<char, 1024> buffer = {};
    const std::size_t length = userCacheFolder(buffer.data(), buffer.size());
    return length == 0 ? std::string() : std::string(buffer.data(), length - 1);
}

std::string FWLocalPaths::tempFile() {
    std::string name = uuid();
    name += randomString(8);
    return appendedPathComponent(tempDirectory(), name);
}

std::string FWLocalPaths::uuid() {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::array<std::uint8_t, 16> bytes = randomBytes();
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U); // Version 4: random.
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U); // The RFC's variant.
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text += '-';
        }
        text += kDigits[bytes[i] >> 4U];
        text += kDigits[bytes[i] & 0x0FU];
    }
    return text;
}

std::string FWLocalPaths::randomString(unsigned length) {
    // The product may wrap; only its low bits are the seed.
    std::srand(static_cast<unsigned>(std::time(nullptr)) * static_cast<unsigned>(std::clock()));
    std::string text;
    text.reserve(length);
    for (unsigned i = 0; i < length; ++i) {
        text += kAlphabet[static_cast<std::size_t>(std::rand()) % kAlphabet.size()];
    }
    return text;
}

std::string FWLocalPaths::ensureTrailingSlash(std::string_view path) {
    std::string ensured(path);
    if (!ensured.empty() && ensured.back() != '/') {
        ensured += '/';
    }
    return ensured;
}

std::string FWLocalPaths::stripTrailingSlash(std::string_view path) {
    if (path.size() >= 2 && path.back() == '/') {
        path.remove_suffix(1);
    }
    return std::string(path);
}

bool FWLocalPaths::isPathSystemDirectory(std::string_view path) {
    return isPathSystemDirectory(path, ExactMatch::kNo);
}

bool FWLocalPaths::isPathSystemDirectory(std::string_view path, ExactMatch exactMatch) {
    if (path == "/") {
        return true;
    }
    if (characterCount(path) < 3) {
        return false;
    }
    if (path.ends_with('/')) {
        path = withoutLastCharacters(path, 2);
    }
    const std::vector<std::string> folders = systemFolders();
    if (std::find(folders.begin(), folders.end(), path) != folders.end()) {
        return true;
    }
    return exactMatch == ExactMatch::kNo && liesInSystemFolder(path);
}

bool FWLocalPaths::isPathOnTimeMachineVolume(std::string_view path) {
    if (!path.starts_with("/Volumes/")) {
        return false;
    }
    const std::vector<std::string_view> components = splitAtAnyOf(path, "/");
    return std::find(components.begin(), components.end(), "Backups.backupdb") != components.end();
}

} // namespace fw
