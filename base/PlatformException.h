#pragma once

#include <stdexcept>
#include <string>

namespace fw {

/// The one exception that services of the machine throw. `what()` is the reason, one plain
/// sentence. It is caught where the scan or a check says so and crosses no room otherwise.
class PlatformException : public std::runtime_error {
public:
    explicit PlatformException(const std::string& reason) : std::runtime_error(reason) {}
};

} // namespace fw
