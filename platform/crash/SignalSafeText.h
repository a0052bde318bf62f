#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace fw {

/// Text of at most 4095 bytes, put together without memory from the heap, without the locale and
/// without a lock: a signal handler may use it. What does not fit is left out.
class SignalSafeText {
public:
    SignalSafeText& add(std::string_view text);
    SignalSafeText& addNumber(std::int64_t value);
    /// With zeros in front, up to so many digits.
    SignalSafeText& addPadded(std::uint64_t value, std::size_t digits);
    /// "0x" and the digits, with zeros in front, up to so many.
    SignalSafeText& addHexadecimal(std::uint64_t value, std::size_t digits = 1);

    std::string_view view() const { return {bytes_.data(), length_}; }
    /// With a NUL at its end.
    const char* c_str() const { return bytes_.data(); }
    /// Whether something was left out.
    bool isCut() const { return isCut_; }

private:
    void addDigits(std::uint64_t value, std::uint64_t base, std::size_t atLeast);

    std::array<char, 4096> bytes_ = {};
    std::size_t length_ = 0;
    bool isCut_ = false;
};

} // namespace fw
