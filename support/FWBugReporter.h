#pragma once

#include <functional>
#include <string>

namespace fw {

/// Who wants to know of a crash, or nobody when the member is empty.
struct FWBugReporterDelegate {
    /// The path of the crash report. Called on the main thread.
    std::function<void(const std::string& log)> applicationDidCrashWithLog;
};

/// Finds out whether the previous run of a program ended without a clean exit, and hands the
/// report of its crash, if there is one, to the suite's crash-reporting application. It works with
/// the dates "launch" and "exit" in a property list, which keeps whole seconds: at `plistPath`, or,
/// with no path, in the running program's own preferences. An empty text is the same as none; with
/// no application name, the running program's file name is taken. No failure is reported, nothing
/// is thrown. In another user's home the superuser's program has that user's rights to the property
/// list, and what it makes belongs to that user. Stateless; two callers of one property list at the
/// same time may lose a date.
class FWBugReporter {
public:
    FWBugReporter() = delete;

    static void startBugReporter();
    static void startBugReporterWithDelegate(const FWBugReporterDelegate& delegate);
    static void startBugReporter(const std::string& applicationName, const std::string& plistPath);
    /// Looks for a crash of the previous run and has the main thread tell the delegate, then
    /// records the start. The folders of the property list and of this user's crash reports are
    /// made when they are missing.
    static void startBugReporter(const std::string& applicationName, const std::string& plistPath,
                                 const FWBugReporterDelegate& delegate);

    static void stopBugReporter();
    /// Records the clean end.
    static void stopBugReporter(const std::string& plistPath);

    static std::string checkForCrashes();
    /// The path of the crash report that was found and handed on, or empty.
    static std::string checkForCrashes(const std::string& applicationName,
                                       const std::string& plistPath);

    /// Gives a file below a folder "Users" to the user whose name the folder in that has.
    static void chownPlist(const std::string& path);
};

} // namespace fw
