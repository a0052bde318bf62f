#pragma once

#include <cstddef>
#include <functional>
#include <sys/types.h>

namespace fw {

/// Writes all the bytes to an open file, in as many pieces as it takes, by calls as write(2). 0, or
/// an errno.
[[nodiscard]] int writeAll(const std::function<ssize_t(int, const void*, std::size_t)>& write,
                           int to, const void* bytes, std::size_t count);

} // namespace fw
