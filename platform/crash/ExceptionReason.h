#pragma once

#include <string_view>

namespace fw {

/// From now on std::terminate notes why it was called, on the thread that called it, and then goes
/// on to the terminate handler before. A terminate handler that is set later must call the one
/// before it, too. Later calls do nothing.
void noteReasonsOfTermination();

/// One line: the type of the uncaught exception and its what(), or that there was none; empty when
/// this thread did not call std::terminate. Signal-safe.
std::string_view reasonOfTermination();

} // namespace fw
