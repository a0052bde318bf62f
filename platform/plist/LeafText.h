#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

// The texts of single values in XML property lists.
namespace fw {

/// A date, "2024-03-01T17:05:09Z" (ISO 8601, UTC, years 0000 to 9999); nothing for other text.
std::optional<std::chrono::sys_seconds> dateFromText(std::string_view text);
std::string textFromDate(std::chrono::sys_seconds date);

/// A whole number of at most 64 bits, with or without sign, in its shortest decimal form;
/// "0x" begins a hexadecimal one. Nothing for other text.
std::optional<std::string> plainInteger(std::string_view text);

/// Whether the whole text is a decimal number, "nan" or "infinity", with or without sign.
bool isReal(std::string_view text);

} // namespace fw
