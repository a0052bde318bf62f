#pragma once

#include "support/Timeout.h"

#include <functional>

namespace fw {

/// Waits until the claim holds or the time is over, and says whether it holds then. On the main
/// thread what others post to it goes on meanwhile. A limit that is negative or not a number is
/// none at all; there is no longest one.
bool waitUntil(Timeout timeout, const std::function<bool()>& claim);

} // namespace fw
