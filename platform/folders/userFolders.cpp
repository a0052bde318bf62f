#include "platform/folders/userFolders.h"

#include "base/text.h"
#include "platform/folders/folderServices.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <pwd.h>
#include <string_view>
#include <vector>

namespace fw {
namespace {

/// Empty when the variable is not set.
std::string environmentText(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

struct Account {
    std::string name;
    std::string home;
};

std::string textOrEmpty(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

/// The account database's entry of the real user.
std::optional<Account> account() {
    const auto user = static_cast<uid_t>(realUserId());
    constexpr std::size_t kLargest = 1024 * 1024;
    for (std::vector<char> texts(1024); texts.size() <= kLargest; texts.resize(texts.size() * 2)) {
        passwd entry = {};
        passwd* found = nullptr;
        int failure = EINTR;
        while (failure == EINTR) {
            failure = ::getpwuid_r(user, &entry, texts.data(), texts.size(), &found);
        }
        if (failure != ERANGE) {
            return found == nullptr ? std::nullopt
                                    : std::optional<Account>({textOrEmpty(found->pw_name),
                                                              textOrEmpty(found->pw_dir)});
        }
    }
    return std::nullopt;
}

std::string cacheFolder() {
    std::string folder = environmentText("XDG_CACHE_HOME");
    if (folder.starts_with('/')) {
        return folder;
    }
    return pathInFolder(homeFolder(), ".cache");
}

} // namespace

std::string homeFolder() {
    std::string home = environmentText("HOME");
    if (!home.starts_with('/')) {
        const auto user = account();
        home = user ? user->home : std::string();
    }
    while (home.size() > 1 && home.ends_with('/')) {
        home.pop_back();
    }
    return home;
}

std::string loginName() {
    const auto user = account();
    return user && !user->name.empty() ? user->name : environmentText("LOGNAME");
}

std::string temporaryFolder() {
    std::string folder = environmentText("TMPDIR");
    return folder.empty() ? "/tmp" : folder;
}

std::size_t userCacheFolder(char* buffer, std::size_t size) {
    const std::string folder = cacheFolder();
    if (folder.empty() || folder.size() >= size) {
        return 0;
    }
    std::memcpy(buffer, folder.c_str(), folder.size() + 1);
    return folder.size() + 1;
}

} // namespace fw
