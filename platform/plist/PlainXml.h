#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fw {

/// How deep the values of a list may be nested. The library walks lists recursively.
inline constexpr int kDeepestPropertyList = 512;

/// An XML property list without everything that is not needed to read it (comments, instructions,
/// document type, attributes, CDATA sections, empty-element tags) and with numbers and dates in one
/// form; what the library makes of that is certain. Nothing when the text is not well-formed, has a
/// number or a date that is none, is nested too deep, or takes too long to read.
std::optional<std::string> plainXml(std::string_view xml);

} // namespace fw
