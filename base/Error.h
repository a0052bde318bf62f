#pragma once

#include <cstdint>
#include <string>

namespace fw {

/// Why an operation failed: whose numbering the code belongs to, the code, and one plain sentence.
struct Error {
    std::string domain;
    std::int64_t code = 0;
    std::string description;

    bool operator==(const Error&) const = default;
};

} // namespace fw
