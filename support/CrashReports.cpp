#include "support/CrashReports.h"

#include "base/Version.h"
#include "platform/crash/CrashHandler.h"
#include "platform/files/Folders.h"
#include "platform/process/RunningProgram.h"
#include "support/bugreporter/CrashReportSearch.h"

namespace fw {
void installCrashReports(const std::string& applicationName,
                         const std::vector<std::string>& arguments) {
    CrashReportSettings settings;
    settings.folder = ownCrashReportFolder();
    settings.applicationName = applicationName;
    settings.version = projectVersion();
    settings.executable = runningExecutable();
    settings.arguments = arguments;
    static_cast<void>(makePrivateFolder(settings.folder));
    installCrashHandler(settings);
}

} // namespace fw
