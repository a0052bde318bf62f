#pragma once

#include <string>
#include <vector>

namespace fw {

/// Where the suite's crash-reporting application may stand beside a program (the path of its
/// executable file), the first choice first; nowhere when that is unknown. Deliberate: the second
/// lies below the executable file itself.
std::vector<std::string> bugReporterCandidates(const std::string& executable);

/// Has the suite's crash-reporting application open a crash report: the first candidate at which
/// something stands, else the one that the workspace knows by its identifier. A failure is not
/// reported.
void openInBugReporter(const std::string& report, const std::string& executable);

} // namespace fw
