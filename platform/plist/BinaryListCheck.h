#pragma once

#include <string_view>

namespace fw {

/// Whether a binary property list ("bplist00") can be handed to the library: its tables lie
/// within it, nothing is nested deeper than kDeepestPropertyList (so nothing holds itself), and
/// what it unfolds to (an object may be referred to from many places) stays below a million
/// values and 64 MiB.
bool isBinaryListSound(std::string_view bytes);

} // namespace fw
