#pragma once

#include "platform/crash/ReportFile.h"
#include "platform/crash/SignalSafeText.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace fw {

/// Loads what a backtrace needs, so that writeBacktrace() loads nothing. Call it once before.
void prepareBacktrace();

/// The address of the instruction at which a signal came (its handler's third argument); nothing
/// where this is not known for the machine. Signal-safe.
std::optional<std::uintptr_t> interruptedInstruction(const void* context);

/// Adds an address as its module's file counts it, "MODULE+0xOFFSET", for symbol tools; "?" when no
/// module is there. `program` is the module whose name the loader does not know. Signal-safe.
void addModuleOffset(SignalSafeText& text, std::uintptr_t address, std::string_view program);

/// Writes the functions that this thread is in, innermost first: a line for each with its address
/// and its module and offset; then the names, where modules tell theirs. All but the innermost are
/// the places to return to, one instruction after the call. The frames above `innermost`, if it is
/// among them, are those of a signal handler and left out. For use in a signal handler, where a
/// broken stack may make it crash.
void writeBacktrace(const ReportFile& file, std::string_view program,
                    std::optional<std::uintptr_t> innermost);

} // namespace fw
