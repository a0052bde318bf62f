#pragma once

#include "platform/digest/Digest.h"

#include <string>

namespace fw {

/// The digest of what came in up to now, two small hexadecimal digits for each byte; empty when it
/// could not be made.
std::string checksumText(const Digest& digest);

} // namespace fw
