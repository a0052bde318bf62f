#include "fuzz/check.h"

#include <cstdio>
#include <cstdlib>

namespace fw::fuzz {

void check(bool holds, std::string_view rule) {
    if (!holds) {
        std::fprintf(stderr, "broken: %.*s\n", static_cast<int>(rule.size()), rule.data());
        std::abort();
    }
}

} // namespace fw::fuzz
