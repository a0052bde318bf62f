#pragma once

#include "platform/crash/CrashReportSettings.h"

#include <csignal>
#include <string>

namespace fw {

/// What is known about a crash before anything happens: put together at the start, only read
/// afterwards.
class PreparedReport {
public:
    explicit PreparedReport(const CrashReportSettings& settings);

    /// Writes the report of a signal that this thread's handler was given, the facts first and what
    /// may go wrong last. Signal-safe.
    void write(int signal, const siginfo_t& facts, const void* context) const;

private:
    std::string pathStart_; ///< The path up to the time.
    std::string executable_;
    std::string program_;
    std::string arguments_;
};

} // namespace fw
