#pragma once

#include "base/text.h"

#include <chrono>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace fw {

/// One argument of a format: a number, a boolean, a text, a date or a list of these. Texts and
/// lists are looked at, not copied: they must outlive the argument.
class FormatArgument {
public:
    using Date = std::chrono::system_clock::time_point;
    /// A list of any kind of elements, and how it is described.
    struct List {
        const void* elements = nullptr;
        std::string (*describe)(const void* elements) = nullptr;
    };
    using Value =
        std::variant<std::int64_t, std::uint64_t, double, bool, std::string_view, Date, List>;

    FormatArgument(bool value) : value_(value) {}
    template <std::signed_integral T>
    FormatArgument(T value) : value_(static_cast<std::int64_t>(value)) {}
    template <std::unsigned_integral T>
    FormatArgument(T value) : value_(static_cast<std::uint64_t>(value)) {}
    template <std::floating_point T>
    FormatArgument(T value) : value_(static_cast<double>(value)) {}
    /// Another pointer would become a boolean.
    template <typename T>
    FormatArgument(const T* pointer) = delete;
    FormatArgument(const char* text) : value_(text != nullptr ? std::string_view(text) : kNone) {}
    FormatArgument(std::string_view text) : value_(text) {}
    FormatArgument(const std::string& text) : value_(std::string_view(text)) {}
    template <typename Duration>
    FormatArgument(std::chrono::time_point<std::chrono::system_clock, Duration> date)
        : value_(std::chrono::time_point_cast<Date::duration>(date)) {}
    template <typename T>
    FormatArgument(const std::vector<T>& elements)
        : value_(List{&elements, &describeElements<T>}) {}
    template <typename T>
    FormatArgument(const std::optional<T>& value)
        : FormatArgument(value ? FormatArgument(*value) : FormatArgument(kNone)) {}

    const Value& value() const { return value_; }

private:
    static constexpr std::string_view kNone = "(null)";

    template <typename T>
    static std::string describeElements(const void* elements);

    Value value_;
};

/// The argument as "%@" writes it: a text as it stands, a whole number in decimal digits, any
/// other number with the fewest digits that give it back, a boolean as 1 or 0, a date as
/// `dateDescription` does, a list as `listDescription` does.
std::string description(const FormatArgument& argument);

template <typename T>
std::string FormatArgument::describeElements(const void* elements) {
    std::vector<std::string> descriptions;
    for (const auto& element : *static_cast<const std::vector<T>*>(elements)) {
        descriptions.push_back(description(FormatArgument(element)));
    }
    return listDescription(descriptions);
}

} // namespace fw
