#pragma once

#include <functional>
#include <optional>
#include <string>

namespace fw {

/// Runs the function on a thread of its own and returns at once; nothing, or why there is no
/// thread for it. It does not throw, and is left where it is when the process exits. Safe from any
/// thread.
[[nodiscard]] std::optional<std::string> runInBackground(std::function<void()> function);

/// Waits until everything that runs in the background has ended. For tests only, which must not end
/// before; a program goes without waiting. Safe from any thread but those.
void finishBackground();

} // namespace fw
