#include "support/bugreporter/CrashReportSearch.h"

#include "base/text.h"
#include "support/FWLocalPaths.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

namespace fw {
namespace {

/// The last matching name; empty when there is none or the folder cannot be listed.
std::string lastReportName(const std::string& folder, const std::string& applicationName) {
    const std::string start = lowerCased(applicationName) + '_';
    std::string last;
    std::error_code failure;
    std::filesystem::directory_iterator entry(folder, failure);
    for (const std::filesystem::directory_iterator end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string name = entry->path().filename().string();
        if (lowerCased(name).starts_with(start)) {
            last = std::max(last, name);
        }
    }
    return last;
}

/// A file's date may lie beyond what the clock can count.
bool isModifiedAfter(const std::string& path, std::chrono::system_clock::time_point date) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return false;
    }
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    const std::int64_t nanoseconds = std::chrono::nanoseconds(date - seconds).count();
    return std::pair<std::int64_t, std::int64_t>(status.st_mtim.tv_sec, status.st_mtim.tv_nsec) >
           std::pair<std::int64_t, std::int64_t>(seconds.time_since_epoch().count(), nanoseconds);
}

/// The folders with crash reports, the user's first, the machine's last; unknown ones are left
/// out, missing ones are not.
std::vector<std::string> crashReportFolders() {
    std::vector<std::string> folders;
    for (const bool userDomain : {true, false}) {
        const std::string logs = FWLocalPaths::logDirectory(userDomain);
        folders.push_back(pathInFolder(logs, "CrashReporter"));
        folders.push_back(pathInFolder(logs, "DiagnosticReports"));
    }
    std::erase(folders, std::string());
    return folders;
}

} // namespace

std::string ownCrashReportFolder() {
    return pathInFolder(FWLocalPaths::logDirectory(true), "DiagnosticReports");
}

std::string crashReportSince(std::chrono::system_clock::time_point launch,
                             const std::string& applicationName) {
    for (const std::string& folder : crashReportFolders()) {
        const std::string name = lastReportName(folder, applicationName);
        std::string path = appendedPathComponent(folder, name);
        if (!name.empty() && isModifiedAfter(path, launch)) {
            return path;
        }
    }
    return {};
}

} // namespace fw
