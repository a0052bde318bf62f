#include "oxbow/ErrorLine.h"

#include <fmt/format.h>

namespace fw {

std::string errorLine(std::string_view text) {
    constexpr unsigned char kFirstPrintable = 0x20;
    constexpr unsigned char kDelete = 0x7F;
    std::string line;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < kFirstPrintable || byte == kDelete) {
            line += fmt::format("\\x{:02X}", byte);
        } else {
            line += character;
        }
    }
    return line;
}

} // namespace fw
