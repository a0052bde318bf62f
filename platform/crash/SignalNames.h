#pragma once

#include <array>
#include <csignal>
#include <string_view>

namespace fw {

/// The signals that say that a program is at fault and whose default action is to end it with a
/// core dump. Not SIGQUIT, which a user sends, and not SIGXCPU and SIGXFSZ, which say that a limit
/// is reached.
inline constexpr std::array kFatalSignals = {SIGSEGV, SIGBUS,  SIGILL, SIGFPE,
                                             SIGABRT, SIGTRAP, SIGSYS};

/// "SIGSEGV" and the like; empty for a signal that is not one of kFatalSignals. Signal-safe.
std::string_view signalName(int signal);

/// The name of a signal's si_code, "SEGV_MAPERR" and the like; empty when it has none.
/// Signal-safe.
std::string_view signalCodeName(int signal, int code);

} // namespace fw
