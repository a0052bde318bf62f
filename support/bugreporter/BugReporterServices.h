#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace fw {

/// What FWBugReporter asks the machine itself; tests put answers of their own in place. An empty
/// member is the machine's own answer.
struct BugReporterServices {
    std::function<std::chrono::system_clock::time_point()> now;
    /// The path of the running program; empty when it is unknown.
    std::function<std::string()> executable;
};

/// Puts other services in place and returns those before. Safe from any thread.
BugReporterServices setBugReporterServices(BugReporterServices services);

/// The services in place, none of them empty. Safe from any thread.
BugReporterServices bugReporterServices();

} // namespace fw
