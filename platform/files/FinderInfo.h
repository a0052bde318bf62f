#pragma once

#include "base/Error.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace fw {

/// The 32 bytes of a file's attribute "com.apple.FinderInfo": type code, creator code, flags (two
/// bytes), and what is kept as it is. Numbers begin with their highest byte.
class FinderInfo {
public:
    /// All zero when the file has none, or none of this length. Links are followed.
    static FinderInfo of(const std::string& path);

    std::uint32_t typeCode() const { return number(kType, 4); }
    std::uint32_t creatorCode() const { return number(kCreator, 4); }
    /// The colour label, 0 (none) to 7.
    unsigned label() const { return (number(kFlags, 2) & kLabel) >> kLabelShift; }
    bool isExtensionHidden() const { return (number(kFlags, 2) & kExtensionHidden) != 0; }

    /// Puts in what is given; whether that changed anything.
    bool take(std::optional<bool> isExtensionHidden, std::optional<std::uint32_t> creatorCode,
              std::optional<std::uint32_t> typeCode);

    /// Puts in a label of 0 to 7; whether that changed anything.
    bool takeLabel(unsigned label);

    /// Nothing, or why it failed. One that is all zero takes the file's away.
    [[nodiscard]] std::optional<Error> writeTo(const std::string& path) const;

private:
    static constexpr std::size_t kType = 0;
    static constexpr std::size_t kCreator = 4;
    static constexpr std::size_t kFlags = 8;
    static constexpr std::uint32_t kExtensionHidden = 0x0010;
    static constexpr std::uint32_t kLabel = 0x000E;
    static constexpr unsigned kLabelShift = 1;

    std::uint32_t number(std::size_t offset, std::size_t length) const;
    void setNumber(std::size_t offset, std::size_t length, std::uint32_t number);

    std::array<unsigned char, 32> bytes_ = {};
};

} // namespace fw
