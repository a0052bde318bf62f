/// Starts as a tool does and then dies of an exception:
///
///     crash_reports_probe none|before|after
///
/// The word says whether the log is opened, before or after crash reports are installed.
#include "base/PlatformException.h"
#include "support/CrashReports.h"
#include "support/FWLog.h"

#include <string>
#include <string_view>
#include <vector>

int main(int argc, char** argv) {
    const std::string_view log = argc > 1 ? argv[1] : "";
    if (log == "before") {
        fw::FWLog::createNewLog("Probe", fw::NoPrinting::kYes);
    }
    fw::installCrashReports("Probe", std::vector<std::string>(argv, argv + argc));
    if (log == "after") {
        fw::FWLog::createNewLog("Probe", fw::NoPrinting::kYes);
    }
    throw fw::PlatformException("The disk is gone.");
}
