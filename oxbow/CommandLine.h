#pragma once

#include "oxbow/ExitStatus.h"
#include "oxbow/ScanSettings.h"

#include <string>
#include <variant>
#include <vector>

namespace fw {

/// "oxbow scan MOVIE".
struct ScanRequest {
    ScanSettings settings;
    bool isJson = false;
    bool isVerbose = false;
};

/// "oxbow demo".
struct DemoRequest {
    bool isVerbose = false;
};

/// Nothing to do but to say something: help, or what is wrong with the arguments.
struct Advice {
    ExitStatus status = ExitStatus::kUsage;
    std::string text; ///< For standard output when the status is kNoFaults, else standard error.
};

using Request = std::variant<ScanRequest, DemoRequest, Advice>;

/// The arguments without the program's own name.
Request parsedCommandLine(const std::vector<std::string>& arguments);

} // namespace fw
