#include "support/FWBugReporter.h"

#include "base/systemLog.h"
#include "base/text.h"
#include "platform/files/Folders.h"
#include "platform/files/actAsOwner.h"
#include "platform/mainthread/MainThread.h"
#include "platform/plist/PropertyListFile.h"
#include "support/FWLocalPaths.h"
#include "support/FWLog.h"
#include "support/FWTaskEx.h"
#include "support/SharedPreferences.h"
#include "support/SuiteIdentifier.h"
#include "support/bugreporter/BugReporterApplication.h"
#include "support/bugreporter/BugReporterServices.h"
#include "support/bugreporter/CrashReportSearch.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace fw {
namespace {

constexpr const char* kLaunch = "launch";
constexpr const char* kExit = "exit";

std::string executable() {
    return bugReporterServices().executable();
}

/// The name of the program as the platform knows it.
std::string bundleName() {
    return std::string(lastPathComponent(executable()));
}

/// The running program's own preferences; empty when they are unknown.
std::string standardStorePath() {
    const std::string folder = FWLocalPaths::prefsDirectory(true);
    const std::string name = bundleName();
    return folder.empty() || name.empty()
               ? std::string()
               : fmt::format("{}/{}.{}.plist", folder, kSuiteIdentifier, name);
}

std::string storePath(const std::string& plistPath) {
    return plistPath.empty() ? standardStorePath() : plistPath;
}

/// Empty for a file that is missing or cannot be read.
PropertyListDictionary readStore(const std::string& path) {
    auto store = readPropertyList(path);
    return store ? std::move(store).value() : PropertyListDictionary();
}

/// Nothing for another value than a date, too.
std::optional<PropertyListDate> dateIn(const PropertyListDictionary& store, const char* key) {
    const auto entry = store.find(key);
    const auto* date = entry == store.end() ? nullptr : entry->second.get<PropertyListDate>();
    return date == nullptr ? std::nullopt : std::optional(*date);
}

/// Sets a date to now and leaves the other values as they are.
void setToNow(const char* key, const std::string& path) {
    PropertyListDictionary store = readStore(path);
    store[key].content = bugReporterServices().now();
    static_cast<void>(makePrivateFolder(path.substr(0, path.rfind('/') + 1)));
    static_cast<void>(writePropertyList(path, store));
}

void recordNow(const char* key, const std::string& plistPath) {
    const std::string path = storePath(plistPath);
    const Actor actor = actAsOwner(path, [&] { setToNow(key, path); });
    // What its owner wrote is theirs; they may also have put a link to a file of others there,
    // which the superuser's chown would follow.
    if (!plistPath.empty() && actor == Actor::kSelf) {
        FWBugReporter::chownPlist(plistPath);
    }
}

std::vector<std::string_view> components(std::string_view path) {
    std::vector<std::string_view> parts = splitAtAnyOf(path, "/");
    std::erase(parts, std::string_view());
    return parts;
}

} // namespace

void FWBugReporter::startBugReporter() {
    startBugReporter({}, {}, {});
}

void FWBugReporter::startBugReporterWithDelegate(const FWBugReporterDelegate& delegate) {
    startBugReporter({}, {}, delegate);
}

void FWBugReporter::startBugReporter(const std::string& applicationName,
                                     const std::string& plistPath) {
    startBugReporter(applicationName, plistPath, {});
}

void FWBugReporter::startBugReporter(const std::string& applicationName,
                                     const std::string& plistPath,
                                     const FWBugReporterDelegate& delegate) {
    const std::string report = checkForCrashes(applicationName, plistPath);
    if (!report.empty() && delegate.applicationDidCrashWithLog) {
        postToMainThread([tell = delegate.applicationDidCrashWithLog, report] { tell(report); });
    }
    static_cast<void>(makePrivateFolder(ownCrashReportFolder()));
    recordNow(kLaunch, plistPath);
}

void FWBugReporter::stopBugReporter() {
    stopBugReporter({});
}

void FWBugReporter::stopBugReporter(const std::string& plistPath) {
    recordNow(kExit, plistPath);
}

std::string FWBugReporter::checkForCrashes() {
    return checkForCrashes({}, {});
}

std::string FWBugReporter::checkForCrashes(const std::string& applicationName,
                                           const std::string& plistPath) {
    const PropertyListDictionary store = readStore(storePath(plistPath));
    const auto launch = dateIn(store, kLaunch);
    const auto exit = dateIn(store, kExit);
    if (!launch || (exit && *exit >= *launch)) {
        return {};
    }
    std::string report =
        crashReportSince(*launch, applicationName.empty() ? bundleName() : applicationName);
    if (report.empty()) {
        return report;
    }
    FWLog::appendLog("Application crashed on last launch");
    if (SharedPreferences::isSwitchedOn(SharedPreferences::kDisableCrashReporter)) {
        systemLog("Crash reporter disabled");
        FWLog::appendLog("Crash reporter disabled");
    } else {
        openInBugReporter(report, executable());
    }
    return report;
}

void FWBugReporter::chownPlist(const std::string& path) {
    const std::vector<std::string_view> parts = components(path);
    const auto users = std::find(parts.begin(), parts.end(), "Users");
    if (users == parts.end() || users + 1 == parts.end()) {
        return;
    }
    FWTaskEx::runTask("/usr/sbin/chown", {std::string(users[1]), path}, Timeout{5});
}

} // namespace fw
