#pragma once

#include <optional>
#include <string>

namespace fw {

/// What an exception says of itself.
struct CurrentException {
    std::string type;                ///< Its name, "std::out_of_range".
    std::optional<std::string> what; ///< Of a std::exception only.

    /// Its words, or its type when it has none.
    std::string reason() const { return what.value_or(type); }
};

/// The exception that is being handled, also within a terminate handler; nothing when there is
/// none. Safe from any thread.
std::optional<CurrentException> currentException();

} // namespace fw
