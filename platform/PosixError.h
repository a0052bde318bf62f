#pragma once

#include "base/Error.h"

#include <cstring>

namespace fw {

/// The system's error `number` (an errno) with its text; domain "POSIX".
inline Error posixError(int number) {
    return {"POSIX", number, std::strerror(number)};
}

} // namespace fw
