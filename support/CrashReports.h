#pragma once

#include "platform/crash/AlternateStack.h"

#include <string>
#include <vector>

namespace fw {

/// Every thread of a tool that runs code of the suite makes one first, on itself: the overflow of
/// its stack leaves a report, too. The main thread has its own from installCrashReports().
using CrashReportedThread = AlternateStack;

/// The first thing that a tool does: from now on its crashes leave reports in the user's folder of
/// diagnostic reports (platform/crash/CrashHandler.h), which is made for the user alone when it is
/// missing. Where that fails there are no reports. `arguments` are all that main() got.
void installCrashReports(const std::string& applicationName,
                         const std::vector<std::string>& arguments);

} // namespace fw
