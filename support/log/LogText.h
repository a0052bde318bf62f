#pragma once

#include "base/FormatArgument.h"

#include <span>
#include <string>
#include <string_view>

namespace fw {

/// A format with its stray percent signs made literal: before a blank or one of . ! , - ; : + a
/// percent sign is doubled, then every "%%%" becomes "%%". "%-" and "%+" are among them although
/// they can begin a conversion: that is the rule. Pure.
std::string escapedForLogging(std::string_view format);

/// The escaped format filled with its arguments.
std::string filledForLogging(std::string_view format, std::span<const FormatArgument> arguments);

/// A logged text as the console shows it: without "%@" and NUL characters, and with every other
/// percent sign doubled. Deliberate: the console's text is no format, so the doubling is seen.
std::string consoleEcho(std::string_view text);

} // namespace fw
