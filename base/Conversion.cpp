#include "base/Conversion.h"

#include <algorithm>
#include <array>

namespace fw {
namespace {

constexpr std::size_t kMostDigits = 4;
constexpr std::string_view kFlags = "-+ #0'";
constexpr std::string_view kKinds = "@diouxXcCpsSfFeEgGaA";

struct LengthModifier {
    std::string_view text;
    int bits;
};
/// Longer ones before those that they begin with.
constexpr std::array<LengthModifier, 9> kLengthModifiers = {{{"hh", 8},
                                                             {"h", 16},
                                                             {"ll", 64},
                                                             {"l", 64},
                                                             {"L", 64},
                                                             {"q", 64},
                                                             {"j", 64},
                                                             {"z", 64},
                                                             {"t", 64}}};

/// Reads a conversion from left to right.
class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    std::string_view rest() const { return text_.substr(at_); }
    std::size_t taken() const { return at_; }
    bool isAtEnd() const { return at_ == text_.size(); }
    bool take(char c) { return take(std::string_view(&c, 1)); }
    bool take(std::string_view expected) {
        const bool isThere = rest().starts_with(expected);
        at_ += isThere ? expected.size() : 0;
        return isThere;
    }
    std::string_view takeAnyOf(std::string_view characters) {
        const std::size_t length = std::min(rest().find_first_not_of(characters), rest().size());
        at_ += length;
        return text_.substr(at_ - length, length);
    }
    /// -1 for too many digits; 0 for none.
    int takeNumber() {
        const std::string_view digits = takeAnyOf("0123456789");
        if (digits.size() > kMostDigits) {
            return -1;
        }
        int number = 0;
        for (const char digit : digits) {
            number = number * 10 + (digit - '0');
        }
        return number;
    }
    /// "position$", or 0 and nothing taken.
    std::size_t takePosition() {
        const std::size_t before = at_;
        const int number = takeNumber();
        if (number > 0 && take('$')) {
            return static_cast<std::size_t>(number);
        }
        at_ = before;
        return 0;
    }

private:
    std::string_view text_;
    std::size_t at_ = 0;
};

FieldSize takeFieldSize(Reader& reader) {
    if (reader.take('*')) {
        return {FieldSize::Source::kArgument, 0, reader.takePosition()};
    }
    const bool hasDigits = !reader.isAtEnd() && reader.rest()[0] >= '0' && reader.rest()[0] <= '9';
    return {hasDigits ? FieldSize::Source::kNumber : FieldSize::Source::kAbsent,
            reader.takeNumber(), 0};
}

int takeBits(Reader& reader) {
    for (const LengthModifier& modifier : kLengthModifiers) {
        if (reader.take(modifier.text)) {
            return modifier.bits;
        }
    }
    return 32;
}

/// Most formats have nothing but "%@", "%%", "%s" and the like, or "%li".
std::optional<Conversion> simpleConversionAt(std::string_view text) {
    const bool isLong = text.size() > 2 && text[1] == 'l';
    const std::size_t length = isLong ? 3 : 2;
    if (text.size() < length) {
        return std::nullopt;
    }
    const char kind = text[length - 1];
    const bool isPercent = kind == '%' && !isLong;
    if (!isPercent && kKinds.find(kind) == std::string_view::npos) {
        return std::nullopt;
    }
    Conversion conversion;
    conversion.length = length;
    conversion.bits = isLong ? 64 : 32;
    conversion.kind = kind;
    return conversion;
}

} // namespace

std::optional<Conversion> conversionAt(std::string_view text) {
    if (auto simple = simpleConversionAt(text)) {
        return simple;
    }
    Reader reader(text);
    Conversion conversion;
    reader.take('%');
    conversion.position = reader.takePosition();
    conversion.flags = reader.takeAnyOf(kFlags);
    conversion.width = takeFieldSize(reader);
    if (reader.take('.')) {
        conversion.precision = takeFieldSize(reader);
        if (conversion.precision.source == FieldSize::Source::kAbsent) {
            conversion.precision.source = FieldSize::Source::kNumber; // A lone "." means 0.
        }
    }
    conversion.bits = takeBits(reader);
    if (reader.isAtEnd() || conversion.width.number < 0 || conversion.precision.number < 0) {
        return std::nullopt;
    }
    conversion.kind = reader.rest()[0];
    conversion.length = reader.taken() + 1;
    if (kKinds.find(conversion.kind) == std::string_view::npos) {
        return std::nullopt;
    }
    return conversion;
}

} // namespace fw
