#pragma once

#include <chrono>
#include <string>

namespace fw {

/// The folder into which this user's programs write their reports; empty when it is unknown.
std::string ownCrashReportFolder();

/// The path of an application's crash report of a time later than `launch`, from the first folder
/// that has one; empty when none has. An application's reports are those whose names begin with
/// its name and "_", compared without regard to the case of ASCII letters. Deliberate: only the
/// last of them by name (in the order of the bytes) is looked at in each folder.
std::string crashReportSince(std::chrono::system_clock::time_point launch,
                             const std::string& applicationName);

} // namespace fw
