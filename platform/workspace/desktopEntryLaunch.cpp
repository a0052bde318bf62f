#include "platform/workspace/desktopEntryLaunch.h"

#include "base/text.h"
#include "platform/FileDescriptor.h"

#include <fcntl.h>
#include <gio/gdesktopappinfo.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

namespace fw {
namespace {

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
struct Free {
    void operator()(void* memory) const { g_free(memory); }
};

/// A list of URLs as GIO takes it; the texts stay with their owner.
class UrlList {
public:
    explicit UrlList(const std::vector<std::string>& urls) {
        for (auto url = urls.rbegin(); url != urls.rend(); ++url) {
            list_ = g_list_prepend(list_, const_cast<char*>(url->c_str()));
        }
    }
    ~UrlList() { g_list_free(list_); }
    UrlList(const UrlList&) = delete;
    UrlList& operator=(const UrlList&) = delete;

    GList* get() const { return list_; }

private:
    GList* list_ = nullptr;
};

std::optional<std::string> urlOf(const std::string& file) {
    if (file.empty() || holdsZeroByte(file)) {
        return std::nullopt;
    }
    if (file.starts_with("file://")) {
        return file;
    }
    std::error_code failure;
    const std::string path = std::filesystem::absolute(file, failure).string();
    const std::unique_ptr<char, Free> url(g_filename_to_uri(path.c_str(), nullptr, nullptr));
    return url ? std::optional<std::string>(url.get()) : std::nullopt;
}

/// Empty when one of the files has no URL.
std::vector<std::string> urlsOf(const std::vector<std::string>& files) {
    std::vector<std::string> urls;
    for (const std::string& file : files) {
        std::optional<std::string> url = urlOf(file);
        if (!url) {
            return {};
        }
        urls.push_back(std::move(*url));
    }
    return urls;
}

/// Null when there is no such entry, or its program is not there.
std::unique_ptr<GDesktopAppInfo, Unref> entryOf(const std::string& identifier) {
    // A name of one file, not a way to others.
    if (identifier.empty() ||
        identifier.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
        return nullptr;
    }
    const std::string name = identifier + ".desktop";
    return std::unique_ptr<GDesktopAppInfo, Unref>(g_desktop_app_info_new(name.c_str()));
}

/// In the child, before its program begins: only what a signal handler may do.
void detach(void* /*nothing*/) {
    ::setsid();
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    for (int number = 1; number < NSIG; ++number) {
        ::signal(number, SIG_DFL);
    }
}

} // namespace

bool launchDesktopEntry(const std::vector<std::string>& files, const std::string& identifier) {
    const std::vector<std::string> urls = urlsOf(files);
    const auto entry = entryOf(identifier);
    const FileDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (urls.empty() || !entry || !nothing) {
        return false;
    }
    return g_desktop_app_info_launch_uris_as_manager_with_fds(
               entry.get(), UrlList(urls).get(), nullptr, G_SPAWN_SEARCH_PATH, detach, nullptr,
               nullptr, nullptr, nothing.get(), nothing.get(), nothing.get(), nullptr) != FALSE;
}

} // namespace fw
