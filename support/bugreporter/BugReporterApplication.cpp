#include "support/bugreporter/BugReporterApplication.h"

#include "base/text.h"
#include "platform/workspace/Workspace.h"
#include "support/FWFileManager.h"
#include "support/SuiteIdentifier.h"

#include <fmt/format.h>

#include <algorithm>

namespace fw {

std::vector<std::string> bugReporterCandidates(const std::string& executable) {
    if (executable.empty()) {
        return {};
    }
    const std::string bundle = executable.substr(0, executable.rfind('/') + 1);
    return {appendedPathComponent(bundle, "Resources/Bug Reporter.app"),
            appendedPathComponent(executable, "Bug Reporter.app"),
            appendedPathComponent(bundle, "Contents/MacOS/Bug Reporter.app")};
}

void openInBugReporter(const std::string& report, const std::string& executable) {
    const std::vector<std::string> candidates = bugReporterCandidates(executable);
    const auto application =
        std::find_if(candidates.begin(), candidates.end(), FWFileManager::fileExistsAtPath);
    if (application != candidates.end()) {
        openFile(report, *application);
    } else {
        openUrls({report}, fmt::format("{}.BugReporter", kSuiteIdentifier));
    }
}

} // namespace fw
