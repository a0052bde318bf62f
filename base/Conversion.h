#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace fw {

/// A width or precision: given as a number, taken from an argument ("*"), or absent.
struct FieldSize {
    enum class Source { kAbsent, kNumber, kArgument };
    Source source = Source::kAbsent;
    int number = 0;
    std::size_t position = 0; ///< Of the argument, from 1; 0 for the next.
};

/// One conversion of a format, taken apart.
struct Conversion {
    std::size_t length = 0;   ///< Of its text, the "%" included.
    std::size_t position = 0; ///< Of its argument, from 1; 0 for the next.
    std::string_view flags;   ///< Of "-+ #0'".
    FieldSize width;
    FieldSize precision;
    int bits = 32; ///< How much of an integer counts: 8, 16, 32 or 64.
    char kind = 0; ///< The last letter; '%' for "%%".
};

/// The conversion at the start of `text`, which begins with "%"; nothing when there is none.
/// Positions, widths and precisions have at most four digits.
std::optional<Conversion> conversionAt(std::string_view text);

} // namespace fw
