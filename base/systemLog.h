#pragma once

#include <functional>
#include <string_view>

namespace fw {

/// Writes one line, "PROGRAM: text", to standard error in one piece. Safe from any thread.
void systemLog(std::string_view text);

/// Puts another receiver of system-log texts in place of standard error; an empty one puts
/// standard error back. It may be called from any thread that logs, and a text on its way
/// meanwhile may still reach the receiver before. Returns the receiver before.
using SystemLogSink = std::function<void(std::string_view text)>;
SystemLogSink setSystemLogSink(SystemLogSink sink);

} // namespace fw
