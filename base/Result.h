#pragma once

#include "base/Error.h"

#include <utility>
#include <variant>

namespace fw {

/// A value, or the error that stands in its place.
template <typename T>
class [[nodiscard]] Result {
public:
    Result(T value) : content_(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : content_(std::in_place_index<1>, std::move(error)) {}

    explicit operator bool() const { return content_.index() == 0; }

    /// Only when there is a value; throws std::bad_variant_access otherwise.
    T& value() & { return std::get<0>(content_); }
    const T& value() const& { return std::get<0>(content_); }
    T&& value() && { return std::get<0>(std::move(content_)); }

    /// Only when there is none; throws std::bad_variant_access otherwise.
    const Error& error() const { return std::get<1>(content_); }

private:
    std::variant<T, Error> content_;
};

} // namespace fw
