#include "base/FormattedText.h"

#include "base/Conversion.h"
#include "base/numbers.h"
#include "base/text.h"

#include <fmt/format.h>
#include <fmt/printf.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <optional>

namespace fw {
namespace {

constexpr int kWidestField = 9999;

/// Gives the arguments one after the other, or by their position.
class ArgumentSource {
public:
    explicit ArgumentSource(std::span<const FormatArgument> arguments) : arguments_(arguments) {}

    /// The argument at the position, from 1; 0 gives the next. Null when there is none.
    const FormatArgument* take(std::size_t position) {
        const std::size_t index = position > 0 ? position - 1 : next_++;
        return index < arguments_.size() ? &arguments_[index] : nullptr;
    }

private:
    std::span<const FormatArgument> arguments_;
    std::size_t next_ = 0;
};

/// How wide a field is to be, with "*" already looked up.
struct Field {
    std::string flags;
    std::optional<int> width;
    std::optional<int> precision;

    bool isPlain() const { return flags.empty() && !width && !precision; }
    /// `ending` is the length and the letter.
    std::string specification(std::string_view ending) const {
        std::string text = "%";
        text += flags;
        if (width) {
            text += std::to_string(*width);
        }
        if (precision) {
            text += '.';
            text += std::to_string(*precision);
        }
        text += ending;
        return text;
    }
    /// Without the flags that mean nothing here; C passes them over.
    Field without(std::string_view meaningless) const {
        Field field = *this;
        std::erase_if(field.flags,
                      [&](char flag) { return meaningless.find(flag) != std::string_view::npos; });
        return field;
    }
};

/// The argument as a number's 64 bits, or nothing for a text, a date or a list.
std::optional<std::int64_t> integerOf(const FormatArgument& argument) {
    const FormatArgument::Value& value = argument.value();
    if (const auto* number = std::get_if<std::int64_t>(&value)) {
        return *number;
    }
    if (const auto* number = std::get_if<std::uint64_t>(&value)) {
        return static_cast<std::int64_t>(*number);
    }
    if (const auto* number = std::get_if<double>(&value)) {
        return saturatingCast<std::int64_t>(*number);
    }
    if (const auto* flag = std::get_if<bool>(&value)) {
        return *flag ? 1 : 0;
    }
    return std::nullopt;
}

std::optional<double> doubleOf(const FormatArgument& argument) {
    const FormatArgument::Value& value = argument.value();
    if (const auto* number = std::get_if<double>(&value)) {
        return *number;
    }
    if (const auto* number = std::get_if<std::uint64_t>(&value)) {
        return static_cast<double>(*number);
    }
    const std::optional<std::int64_t> number = integerOf(argument);
    return number ? std::optional<double>(static_cast<double>(*number)) : std::nullopt;
}

std::int64_t lowBitsSigned(std::int64_t value, int bits) {
    const int unused = 64 - bits;
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(value) << unused) >> unused;
}

std::uint64_t lowBitsUnsigned(std::int64_t value, int bits) {
    return static_cast<std::uint64_t>(value) & (~std::uint64_t{0} >> (64 - bits));
}

std::string textField(const Field& field, const std::string& text) {
    if (field.isPlain()) {
        return text;
    }
    return fmt::sprintf(field.without("+ #0").specification("s"), std::string_view(text));
}

std::string characterText(std::int64_t code) {
    return utf8Text(code >= 0 && code <= 0x10FFFF ? static_cast<char32_t>(code) : U'\uFFFD');
}

/// By the C library, whose rules for precisions and "#" fmt does not share; no integer conversion
/// depends on the locale.
template <typename Integer>
std::string printedInteger(const Field& field, char kind, Integer value) {
    const std::string specification = field.specification(std::array{'j', kind, '\0'}.data());
    const int length = std::snprintf(nullptr, 0, specification.c_str(), value);
    std::string text(static_cast<std::size_t>(length), '\0');
    std::snprintf(text.data(), text.size() + 1, specification.c_str(), value);
    return text;
}

std::string integerField(const Field& field, const Conversion& conversion, std::int64_t value) {
    switch (conversion.kind) {
    case 'd':
    case 'i':
        return printedInteger<std::intmax_t>(field, 'd', lowBitsSigned(value, conversion.bits));
    case 'c':
    case 'C':
        return textField(field, characterText(value));
    case 'p':
        return printedInteger(Field{field.flags + '#', field.width, {}}, 'x',
                              static_cast<std::uintmax_t>(value));
    default:
        return printedInteger<std::uintmax_t>(field, conversion.kind,
                                              lowBitsUnsigned(value, conversion.bits));
    }
}

/// By fmt, so that the locale plays no part; it does not share C's rules for "#", nor for zeros
/// before hexadecimal digits.
std::string floatingField(const Field& field, char kind, double value) {
    const bool isHexadecimal = kind == 'a' || kind == 'A';
    return fmt::sprintf(field.without(isHexadecimal ? "#0" : "#").specification({&kind, 1}), value);
}

std::string fieldText(const Field& field, const Conversion& conversion,
                      const FormatArgument& argument) {
    constexpr std::string_view kIntegerKinds = "diouxXcCp";
    constexpr std::string_view kFloatingKinds = "fFeEgGaA";
    if (kIntegerKinds.find(conversion.kind) != std::string_view::npos) {
        if (const auto value = integerOf(argument)) {
            return integerField(field, conversion, *value);
        }
    } else if (kFloatingKinds.find(conversion.kind) != std::string_view::npos) {
        if (const auto value = doubleOf(argument)) {
            return floatingField(field, conversion.kind, *value);
        }
    }
    return textField(field, description(argument));
}

/// Looks up a width or precision given as "*"; false when its argument is missing or no number.
bool lookUp(const FieldSize& size, ArgumentSource& arguments, std::optional<int>& result) {
    if (size.source == FieldSize::Source::kNumber) {
        result = size.number;
    }
    if (size.source != FieldSize::Source::kArgument) {
        return true;
    }
    const FormatArgument* argument = arguments.take(size.position);
    const std::optional<std::int64_t> value =
        argument != nullptr ? integerOf(*argument) : std::nullopt;
    if (value) {
        result = static_cast<int>(std::clamp<std::int64_t>(*value, -kWidestField, kWidestField));
    }
    return value.has_value();
}

/// The field; as in C a negative width from an argument means the flag "-", a negative precision
/// none.
std::optional<Field> fieldOf(const Conversion& conversion, ArgumentSource& arguments) {
    Field field{std::string(conversion.flags), {}, {}};
    if (!lookUp(conversion.width, arguments, field.width) ||
        !lookUp(conversion.precision, arguments, field.precision)) {
        return std::nullopt;
    }
    if (field.width && *field.width < 0) {
        field.flags += '-';
        field.width = -*field.width;
    }
    if (field.precision && *field.precision < 0) {
        field.precision.reset();
    }
    return field.without("'"); // Grouping would depend on the locale.
}

/// Writes what most formats consist of, a whole number or any description without a field around
/// it; false for everything else.
bool appendPlain(std::string& result, const Conversion& conversion,
                 const FormatArgument& argument) {
    if (conversion.kind == '@' || conversion.kind == 's') {
        const auto* text = std::get_if<std::string_view>(&argument.value());
        result += text != nullptr ? *text : description(argument);
        return true;
    }
    const auto* number = std::get_if<std::int64_t>(&argument.value());
    if (number != nullptr && (conversion.kind == 'd' || conversion.kind == 'i')) {
        const fmt::format_int digits(lowBitsSigned(*number, conversion.bits));
        result.append(digits.data(), digits.size());
        return true;
    }
    return false;
}

/// Writes the conversion; false when an argument is missing.
bool append(std::string& result, const Conversion& conversion, ArgumentSource& arguments) {
    const bool hasField = !conversion.flags.empty() ||
                          conversion.width.source != FieldSize::Source::kAbsent ||
                          conversion.precision.source != FieldSize::Source::kAbsent;
    const std::optional<Field> field = hasField ? fieldOf(conversion, arguments) : Field{};
    const FormatArgument* argument = field ? arguments.take(conversion.position) : nullptr;
    if (argument == nullptr) {
        return false;
    }
    if (hasField || !appendPlain(result, conversion, *argument)) {
        result += fieldText(*field, conversion, *argument);
    }
    return true;
}

/// Enough for most results, so that the text need not grow.
std::size_t likelySize(std::string_view format, std::span<const FormatArgument> arguments) {
    constexpr std::size_t kNumber = 8;
    std::size_t size = format.size();
    for (const FormatArgument& argument : arguments) {
        const auto* text = std::get_if<std::string_view>(&argument.value());
        size += text != nullptr ? text->size() : kNumber;
    }
    return size;
}

} // namespace

std::string formattedText(std::string_view format, std::span<const FormatArgument> arguments) {
    ArgumentSource source(arguments);
    std::string result;
    result.reserve(likelySize(format, arguments));
    for (std::size_t percent = format.find('%'); percent != std::string_view::npos;
         percent = format.find('%')) {
        result += format.substr(0, percent);
        format.remove_prefix(percent);
        const std::optional<Conversion> conversion = conversionAt(format);
        const std::size_t length = conversion ? conversion->length : 1;
        if (conversion && conversion->kind == '%') {
            result += '%';
        } else if (!conversion || !append(result, *conversion, source)) {
            result += format.substr(0, length);
        }
        format.remove_prefix(length);
    }
    return result += format;
}

} // namespace fw
