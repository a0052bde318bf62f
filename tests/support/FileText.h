#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace fw::test {

inline void writeText(const std::string& path, std::string_view text) {
    std::ofstream(path, std::ios::binary) << text;
}

/// Empty for a file that cannot be read, too.
inline std::string readText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace fw::test
