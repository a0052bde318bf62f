#pragma once

#include <functional>

namespace fw {

/// Calls a delegate's operation. What it throws is told to the system log and goes no further.
void guardedCall(const std::function<void()>& operation);

} // namespace fw
