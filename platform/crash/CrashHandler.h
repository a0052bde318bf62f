#pragma once

#include "platform/crash/CrashReportSettings.h"

namespace fw {

/// From now on a signal that says that the program is at fault (kFatalSignals), sent by whomever,
/// and an uncaught exception leave a report in the folder before they end the process:
///
///     APPLICATIONNAME_YYYY-MM-DD-HHMMSS_PROCESSID.crash      (universal time, mode 0600)
///
/// The report is all that changes: afterwards the action that stood before is taken, so that exit
/// status and core dump are as they would be. There is one report for each process, of the first
/// crash, however many threads crash meanwhile. A folder that cannot be written leaves no report.
/// A report that is cut short, by a full disk or a crash of its writer, keeps what was written. The
/// end is delayed by ten seconds at most.
///
/// A signal that was ignored stays so when another process sends it.
///
/// Call it on the main thread, before others start; threads make an AlternateStack of their own.
/// Later calls do nothing.
void installCrashHandler(const CrashReportSettings& settings);

} // namespace fw
