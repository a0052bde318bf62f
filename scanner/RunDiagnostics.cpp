#include "scanner/RunDiagnostics.h"

#include "support/FWBugReporter.h"
#include "support/FWLocalPaths.h"
#include "support/FWLog.h"

#include <string>

namespace fw {
namespace {

constexpr const char* kAppName = "OxbowGlint";

std::string markerFile() {
    const std::string folder = FWLocalPaths::prefsDirectory(true);
    return folder.empty() ? folder : folder + "/com.fernwick.Oxbow.Glint.plist";
}

} // namespace

RunDiagnostics suiteDiagnostics() {
    const std::string markers = markerFile();
    return {[markers] {
                // Standard output belongs to the results, before the log is open, too.
                FWLog::sharedController().setNoPrinting(NoPrinting::kYes);
                FWBugReporter::startBugReporter(kAppName, markers);
                FWLog::createNewLog(kAppName, NoPrinting::kYes);
            },
            [] { FWLog::finishWriting(); },
            [markers] {
                FWBugReporter::stopBugReporter(markers);
            }};
}

} // namespace fw
