#include "support/files/checksumText.h"

#include <fmt/format.h>

#include <iterator>

namespace fw {

std::string checksumText(const Digest& digest) {
    std::string text;
    for (const std::byte byte : digest.bytes()) {
        fmt::format_to(std::back_inserter(text), "{:02x}", std::to_integer<unsigned>(byte));
    }
    return text;
}

} // namespace fw
