#pragma once

#include <string>

namespace fw::libav {

/// libav's own sentence for one of its codes.
std::string libavText(int code);

} // namespace fw::libav
