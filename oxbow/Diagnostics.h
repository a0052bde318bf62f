#pragma once

#include <functional>
#include <string_view>

namespace fw {

/// Receives what the scanner says about its work and writes it there, until that cannot be written
/// any more. Nothing depends on it: the rest is passed over, and no error comes out.
std::function<void(std::string_view text)> diagnosticsWriter(int descriptor);

} // namespace fw
