#pragma once

#include <string>
#include <vector>

namespace fw {

/// What a crash report says of the program. Texts may hold any bytes and be of any length: reports
/// stay readable.
struct CrashReportSettings {
    std::string folder;          ///< Absolute; made by the caller. Empty: no reports.
    std::string applicationName; ///< The reports' names begin with it; no slash in it.
    std::string version;
    std::string executable;             ///< The file that this process runs.
    std::vector<std::string> arguments; ///< As main() got them.
};

} // namespace fw
