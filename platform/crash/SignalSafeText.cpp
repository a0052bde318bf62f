#include "platform/crash/SignalSafeText.h"

#include <algorithm>

namespace fw {

SignalSafeText& SignalSafeText::add(std::string_view text) {
    const std::size_t room = bytes_.size() - 1 - length_;
    isCut_ = isCut_ || text.size() > room;
    const std::size_t taken = std::min(text.size(), room);
    std::copy_n(text.data(), taken, bytes_.data() + length_);
    length_ += taken;
    return *this;
}

SignalSafeText& SignalSafeText::addNumber(std::int64_t value) {
    const auto magnitude = static_cast<std::uint64_t>(value);
    if (value < 0) {
        add("-");
    }
    addDigits(value < 0 ? 0 - magnitude : magnitude, 10, 1);
    return *this;
}

SignalSafeText& SignalSafeText::addPadded(std::uint64_t value, std::size_t digits) {
    addDigits(value, 10, digits);
    return *this;
}

SignalSafeText& SignalSafeText::addHexadecimal(std::uint64_t value, std::size_t digits) {
    add("0x");
    addDigits(value, 16, digits);
    return *this;
}

void SignalSafeText::addDigits(std::uint64_t value, std::uint64_t base, std::size_t atLeast) {
    std::array<char, 20> digits;
    std::size_t start = digits.size();
    do {
        digits[--start] = "0123456789abcdef"[value % base];
        value /= base;
    } while (value != 0);
    while (start > 0 && digits.size() - start < atLeast) {
        digits[--start] = '0';
    }
    add({digits.data() + start, digits.size() - start});
}

} // namespace fw
