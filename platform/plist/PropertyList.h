#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace fw {

struct PropertyListValue;

/// Text is UTF-8; files that hold other text are repaired on the way in and on the way out.
using PropertyListArray = std::vector<PropertyListValue>;
using PropertyListDictionary = std::map<std::string, PropertyListValue>;
using PropertyListData = std::vector<std::byte>;
/// Whole seconds are kept, rounded down.
using PropertyListDate = std::chrono::system_clock::time_point;

/// A value that no other kind has room for (a whole number above 63 bits, a date out of the
/// clock's range, a reference of a keyed archive). It is written back as it was read.
struct ForeignPropertyListValue {
    std::string xml;
    bool operator==(const ForeignPropertyListValue&) const = default;
};

/// One value of a property list.
struct PropertyListValue {
    std::variant<bool, std::int64_t, double, std::string, PropertyListDate, PropertyListData,
                 PropertyListArray, PropertyListDictionary, ForeignPropertyListValue>
        content;

    /// The value when it is a T, otherwise null.
    template <typename T>
    const T* get() const {
        return std::get_if<T>(&content);
    }
    bool operator==(const PropertyListValue&) const = default;
};

} // namespace fw
